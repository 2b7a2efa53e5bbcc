#include "platform/linux/portal/input/LayoutSymbols.h"

#include <gtest/gtest.h>
#include <xkbcommon/xkbcommon-keysyms.h>

#include "platform/linux/keys/Xkb.h"

namespace vesk::portal::input::VESK_FILE {
namespace {

LayoutSymbols symbolsOf(const char* layout) {
  const keys::Xkb<xkb_context> context(xkb_context_new(XKB_CONTEXT_NO_ENVIRONMENT_NAMES));
  const xkb_rule_names names{nullptr, nullptr, layout, nullptr, nullptr};
  const keys::Xkb<xkb_keymap> keymap(
      xkb_keymap_new_from_names(context.get(), &names, XKB_KEYMAP_COMPILE_NO_FLAGS));
  return LayoutSymbols(keymap.get());
}

TEST(LayoutSymbolsTest, KnowsWhatTheKeysType) {
  const auto german = symbolsOf("de");
  EXPECT_EQ(german.find(U'a'), static_cast<xkb_keysym_t>(XKB_KEY_a));
  EXPECT_EQ(german.find(U'Ä'), static_cast<xkb_keysym_t>(XKB_KEY_Adiaeresis));
  EXPECT_EQ(german.find(U'€'), static_cast<xkb_keysym_t>(XKB_KEY_EuroSign));
  EXPECT_EQ(german.find(U'\r'), static_cast<xkb_keysym_t>(XKB_KEY_Return));
  EXPECT_EQ(german.find(U'中'), std::nullopt);
  EXPECT_EQ(symbolsOf("us").find(U'ä'), std::nullopt);
}

TEST(LayoutSymbolsTest, KnowsAllLayoutsOfAKeymap) {
  const auto both = symbolsOf("us,ru");
  EXPECT_TRUE(both.find(U'a'));
  EXPECT_TRUE(both.find(U'я'));
}

TEST(LayoutSymbolsTest, KnowsWhatIsOutOfReach) {
  const auto german = symbolsOf("de");
  // With Shift and the third level's modifier.
  EXPECT_EQ(german.find(U'Ω'), std::nullopt);
  EXPECT_TRUE(german.isOutOfReach(U'Ω'));
  EXPECT_FALSE(german.isOutOfReach(U'a'));
  EXPECT_FALSE(german.isOutOfReach(U'中'));
}

TEST(LayoutSymbolsTest, HasNothingWithoutAKeymap) {
  EXPECT_EQ(LayoutSymbols(nullptr).find(U'a'), std::nullopt);
  EXPECT_FALSE(LayoutSymbols().isOutOfReach(U'a'));
}

}  // namespace
}  // namespace vesk::portal::input::VESK_FILE
