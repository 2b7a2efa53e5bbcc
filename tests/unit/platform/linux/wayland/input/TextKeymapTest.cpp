#include "platform/linux/wayland/input/TextKeymap.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <numeric>
#include <set>
#include <string>

#include "platform/linux/wayland/input/ownKeymap.h"

namespace vesk::wayland::input::VESK_FILE {
namespace {

/// So many different characters that no key has by itself.
std::u32string different(std::size_t count, char32_t first = 0x4E00) {
  std::u32string characters(count, U'\0');
  std::iota(characters.begin(), characters.end(), first);
  return characters;
}

TEST(TextKeymapTest, GivesEachCharacterAKeyOfItsOwn) {
  TextKeymap keymap;
  const auto characters = different(TextKeymap::capacity());
  EXPECT_TRUE(keymap.assign(characters));
  std::set<Key> keys;
  for (const char32_t character : characters) keys.insert(keymap.find(character).value_or(0));
  EXPECT_EQ(keys.size(), characters.size());
  EXPECT_FALSE(keys.contains(0));
  EXPECT_GT(TextKeymap::capacity(), 80U);
}

TEST(TextKeymapTest, TakesKeysThatTypeSomethingOnEveryKeyboardFirst) {
  TextKeymap keymap;
  keymap.assign(U"ä€");
  EXPECT_EQ(keymap.find(U'ä'), 2U);
  EXPECT_EQ(keymap.find(U'€'), 3U);
}

TEST(TextKeymapTest, LeavesReturnAndItsLikeWhereTheyAre) {
  TextKeymap keymap;
  EXPECT_FALSE(keymap.assign(U"\r\t\b\x1B\x7F "));
  EXPECT_EQ(keymap.find(U'\r'), 28U);
  EXPECT_EQ(keymap.find(U'\t'), 15U);
  EXPECT_EQ(keymap.find(U'\b'), 14U);
  EXPECT_EQ(keymap.find(U'\x1B'), 1U);
  EXPECT_EQ(keymap.find(U'\x7F'), 111U);
  EXPECT_EQ(keymap.find(U' '), 57U);
}

TEST(TextKeymapTest, ChangesNothingForCharactersThatHaveAKey) {
  TextKeymap keymap;
  EXPECT_TRUE(keymap.assign(U"abc"));
  const auto key = keymap.find(U'a');
  EXPECT_FALSE(keymap.assign(U"cab"));
  EXPECT_TRUE(keymap.assign(U"abcd"));
  EXPECT_EQ(keymap.find(U'a'), key);
}

TEST(TextKeymapTest, TakesTheKeyThatWasUsedLongestAgo) {
  TextKeymap keymap;
  keymap.assign(different(TextKeymap::capacity()));
  const char32_t first = 0x4E00;
  const char32_t second = first + 1;
  const auto key = keymap.find(second);
  keymap.assign(std::u32string{first});
  EXPECT_TRUE(keymap.assign(U"ä"));
  EXPECT_EQ(keymap.find(U'ä'), key);
  EXPECT_TRUE(keymap.find(first)) << "used just now";
  EXPECT_FALSE(keymap.find(second));
}

TEST(TextKeymapTest, TakesNoKeyFromACharacterOfTheSameText) {
  TextKeymap keymap;
  keymap.assign(different(TextKeymap::capacity()));
  const auto text = different(1) + different(TextKeymap::capacity() - 1, 0x3041);
  keymap.assign(text);
  for (const char32_t character : text) EXPECT_TRUE(keymap.find(character));
}

TEST(TextKeymapTest, HasNoKeyForWhatIsNoCharacter) {
  TextKeymap keymap;
  EXPECT_FALSE(keymap.assign(std::u32string{0x110000}));
  EXPECT_FALSE(keymap.find(char32_t{0x110000}));
  EXPECT_FALSE(keymap.find(U'\0'));
}

TEST(TextKeymapTest, IsReadByXkb) {
  TextKeymap characters;
  characters.assign(U"aÄ€中😀");
  const keys::Xkb<xkb_context> context(xkb_context_new(XKB_CONTEXT_NO_ENVIRONMENT_NAMES));
  const keys::Xkb<xkb_keymap> keymap(
      xkb_keymap_new_from_string(context.get(), characters.text().c_str(),
                                 XKB_KEYMAP_FORMAT_TEXT_V1, XKB_KEYMAP_COMPILE_NO_FLAGS));
  ASSERT_NE(keymap, nullptr);
  const keys::Xkb<xkb_state> state(xkb_state_new(keymap.get()));
  for (const char32_t character : std::u32string(U"aÄ€中😀 \t\r")) {
    const auto key = characters.find(character);
    ASSERT_TRUE(key);
    EXPECT_EQ(xkb_state_key_get_utf32(state.get(), *key + keys::keycodeOffset), character);
  }
}

TEST(OwnKeymapTest, IsKnownAgainAfterACompositorHasReadIt) {
  const keys::Xkb<xkb_context> context(xkb_context_new(XKB_CONTEXT_NO_FLAGS));
  const keys::Xkb<xkb_keymap> persons(
      xkb_keymap_new_from_names(context.get(), nullptr, XKB_KEYMAP_COMPILE_NO_FLAGS));
  ASSERT_NE(persons, nullptr);
  const std::string text = ownKeymapText(persons.get());
  EXPECT_TRUE(isOwnKeymapText(text));
  const keys::Xkb<xkb_keymap> read(xkb_keymap_new_from_string(
      context.get(), text.c_str(), XKB_KEYMAP_FORMAT_TEXT_V1, XKB_KEYMAP_COMPILE_NO_FLAGS));
  ASSERT_NE(read, nullptr);
  char* const again = xkb_keymap_get_as_string(read.get(), XKB_KEYMAP_FORMAT_TEXT_V1);
  EXPECT_TRUE(isOwnKeymapText(again));
  std::free(again);
  char* const others = xkb_keymap_get_as_string(persons.get(), XKB_KEYMAP_FORMAT_TEXT_V1);
  EXPECT_FALSE(isOwnKeymapText(others));
  std::free(others);
}

}  // namespace
}  // namespace vesk::wayland::input::VESK_FILE
