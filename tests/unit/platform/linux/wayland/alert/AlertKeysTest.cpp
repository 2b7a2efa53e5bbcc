#include "platform/linux/wayland/alert/AlertKeys.h"

#include <gtest/gtest.h>
#include <linux/input-event-codes.h>

#include <cstdlib>
#include <string>

namespace vesk::wayland::alert::VESK_FILE {
namespace {

std::string keymapOf(const char* layout) {
  xkb_context* const context = xkb_context_new(XKB_CONTEXT_NO_FLAGS);
  xkb_rule_names names{};
  names.layout = layout;
  xkb_keymap* const keymap =
      xkb_keymap_new_from_names(context, &names, XKB_KEYMAP_COMPILE_NO_FLAGS);
  char* const text = xkb_keymap_get_as_string(keymap, XKB_KEYMAP_FORMAT_TEXT_V1);
  std::string result(text);
  std::free(text);
  xkb_keymap_unref(keymap);
  xkb_context_unref(context);
  return result;
}

class AlertKeysTest : public ::testing::Test {
 protected:
  static constexpr std::uint32_t shift = 1;
  static constexpr std::uint32_t control = 4;

  AlertKeysTest() { keys_.setKeymap(keymapOf("de")); }

  Qt::Key keyOf(std::uint32_t number) const {
    const auto meaning = keys_.meaningOf(number);
    return meaning ? meaning->key : Qt::Key_unknown;
  }

  AlertKeys keys_;
};

TEST_F(AlertKeysTest, KnowsThoseThatChooseAndPress) {
  EXPECT_EQ(keyOf(KEY_ENTER), Qt::Key_Return);
  EXPECT_EQ(keyOf(KEY_KPENTER), Qt::Key_Enter);
  EXPECT_EQ(keyOf(KEY_ESC), Qt::Key_Escape);
  EXPECT_EQ(keyOf(KEY_TAB), Qt::Key_Tab);
  EXPECT_EQ(keyOf(KEY_SPACE), Qt::Key_Space);
  EXPECT_EQ(keyOf(KEY_LEFT), Qt::Key_Left);
  EXPECT_EQ(keyOf(KEY_RIGHT), Qt::Key_Right);
  EXPECT_EQ(keyOf(KEY_UP), Qt::Key_Up);
  EXPECT_EQ(keyOf(KEY_DOWN), Qt::Key_Down);
}

TEST_F(AlertKeysTest, KnowsNoOthers) {
  for (const auto number : {KEY_A, KEY_F4, KEY_LEFTSHIFT, KEY_DELETE, 700})
    EXPECT_EQ(keys_.meaningOf(static_cast<std::uint32_t>(number)), std::nullopt) << number;
}

TEST_F(AlertKeysTest, GoesBackByTabWithShift) {
  keys_.setModifiers(shift, 0, 0, 0);
  EXPECT_EQ(keyOf(KEY_TAB), Qt::Key_Backtab);
}

TEST_F(AlertKeysTest, TellsOfTheModifiersThatAreHeld) {
  keys_.setModifiers(control, 0, 0, 0);
  EXPECT_EQ(keys_.meaningOf(KEY_ENTER)->modifiers, Qt::ControlModifier);
  keys_.setModifiers(0, 0, 0, 0);
  EXPECT_EQ(keys_.meaningOf(KEY_ENTER)->modifiers, Qt::NoModifier);
}

TEST_F(AlertKeysTest, KnowsNothingWithoutAKeymap) {
  keys_.setKeymap({});
  EXPECT_EQ(keys_.meaningOf(KEY_ENTER), std::nullopt);
  keys_.setKeymap(std::string("no keymap"));
  EXPECT_EQ(keys_.meaningOf(KEY_ENTER), std::nullopt);
  EXPECT_EQ(keys_.modifiers(), Qt::NoModifier);
}

}  // namespace
}  // namespace vesk::wayland::alert::VESK_FILE
