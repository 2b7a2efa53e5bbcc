#include "platform/linux/x11/input/KeyboardLayout.h"

#include <gtest/gtest.h>

#include <xkbcommon/xkbcommon-keysyms.h>

#include <algorithm>

namespace vesk::x11::input::VESK_FILE {
namespace {

using Keycodes = std::vector<xcb_keycode_t>;

constexpr KeyCode positionOfA = 0;
constexpr xcb_keycode_t keyA = 38;
constexpr xcb_keycode_t keyY = 29;
constexpr xcb_keycode_t keyZ = 52;
constexpr xcb_keycode_t keyApostrophe = 48;
constexpr xcb_keycode_t keypad1 = 87;
constexpr XModifiers shift = 0x01;

/// American, with German as the second group, where Y and Z have changed places.
class KeyboardLayoutTest : public ::testing::Test {
 protected:
  static keys::Xkb<xkb_keymap> keymap() {
    auto* const context = xkb_context_new(XKB_CONTEXT_NO_ENVIRONMENT_NAMES);
    const xkb_rule_names names{"evdev", "pc105", "us,de", "", ""};
    keys::Xkb<xkb_keymap> map(
        xkb_keymap_new_from_names(context, &names, XKB_KEYMAP_COMPILE_NO_FLAGS));
    xkb_context_unref(context);
    return map;
  }

  KeyboardLayout layout{keymap()};
};

TEST_F(KeyboardLayoutTest, KnowsTheKeysByTheirPlaces) {
  EXPECT_FALSE(layout.isEmpty());
  EXPECT_EQ(layout.keycodeAt(positionOfA), keyA);
  EXPECT_EQ(layout.symbol(keyA, 0), xkb_keysym_t{XKB_KEY_a});
  EXPECT_EQ(layout.symbol(keyA, 1), xkb_keysym_t{XKB_KEY_A});
}

TEST_F(KeyboardLayoutTest, TypesACharacterByTheFewestModifiers) {
  EXPECT_EQ(layout.strokeFor(U'a', 0, {}), (Stroke{keyA, {0, 0}}));
  EXPECT_EQ(layout.strokeFor(U'A', 0, {}), (Stroke{keyA, {shift, 0}}));
  EXPECT_EQ(layout.strokeFor(U'\u30A2', 0, {}), std::nullopt);
}

TEST_F(KeyboardLayoutTest, TypesACharacterInTheGroupThatIsInUseIfItCan) {
  EXPECT_EQ(layout.strokeFor(U'z', 0, {}), (Stroke{keyZ, {0, 0}}));
  EXPECT_EQ(layout.strokeFor(U'z', 1, {}), (Stroke{keyY, {0, 1}}));
  EXPECT_EQ(layout.strokeFor(U'\u00E4', 0, {}), (Stroke{keyApostrophe, {0, 1}}));
}

TEST_F(KeyboardLayoutTest, LeavesOutTheKeysThatAreExcluded) {
  EXPECT_EQ(layout.strokeFor(U'z', 0, Keycodes{keyZ}), (Stroke{keyY, {0, 1}}));
  EXPECT_EQ(layout.strokeFor(U'z', 0, Keycodes{keyZ, keyY}), std::nullopt);
}

TEST_F(KeyboardLayoutTest, KnowsTheKeysOfModifiersTheUsualOneFirst) {
  EXPECT_EQ(layout.keysOf(eventFlag::shift), (Keycodes{50, 62}));
  EXPECT_EQ(layout.keysOf(eventFlag::control), (Keycodes{37, 105}));
  EXPECT_EQ(layout.keysOf(eventFlag::alternate).front(), 64);
  EXPECT_EQ(layout.keysOf(eventFlag::command).front(), 133);
  EXPECT_TRUE(layout.keysOf(0).empty());
}

TEST_F(KeyboardLayoutTest, TypesADigitOfTheKeypadWithNumLock) {
  constexpr XModifiers numLock = 0x10;
  EXPECT_EQ(layout.modifiersForDigit(keypad1), numLock);
  EXPECT_EQ(layout.modifiersForDigit(keyA), 0);
}

TEST_F(KeyboardLayoutTest, KnowsWhichKeycodesHaveNothing) {
  const auto free = layout.unmapped();
  EXPECT_FALSE(free.empty());
  EXPECT_EQ(std::ranges::count(free, keyA), 0);
  for (const auto keycode : free) EXPECT_EQ(layout.symbol(keycode, 0), xkb_keysym_t{0});
}

TEST(EmptyKeyboardLayoutTest, HasNoKeys) {
  const KeyboardLayout layout;
  EXPECT_TRUE(layout.isEmpty());
  EXPECT_EQ(layout.keycodeAt(positionOfA), std::nullopt);
  EXPECT_TRUE(layout.keysOf(eventFlag::shift).empty());
  EXPECT_EQ(layout.strokeFor(U'a', 0, {}), std::nullopt);
  EXPECT_EQ(layout.modifiersForDigit(keypad1), 0);
  EXPECT_TRUE(layout.unmapped().empty());
  EXPECT_EQ(layout.symbol(keyA, 0), xkb_keysym_t{XKB_KEY_NoSymbol});
}

}  // namespace
}  // namespace vesk::x11::input::VESK_FILE
