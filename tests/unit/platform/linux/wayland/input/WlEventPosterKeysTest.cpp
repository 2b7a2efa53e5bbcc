#include <cstdlib>
#include <set>

#include "platform/linux/keys/KeyPositions.h"
#include "unit/platform/linux/wayland/input/PersonsKeyboard.h"
#include "unit/platform/linux/wayland/input/PosterFixture.h"

namespace vesk::wayland::input::VESK_FILE {
namespace {

constexpr KeyCode a = 0x00;
constexpr KeyCode y = 0x10;
constexpr KeyCode keypadOne = 0x53;
constexpr KeyCode shiftLeft = 0x38;
constexpr KeyCode shiftRight = 0x3C;
constexpr KeyCode optionRight = 0x3D;

class WlEventPosterKeysTest : public PosterFixture {
 protected:
  bool hasTyped(const std::string& text) const {
    return window.waitFor([&](const testing::WlSeen& seen) { return seen.text == text; });
  }

  bool holds(const std::set<std::uint32_t>& keys) const {
    return window.waitFor([&](const testing::WlSeen& seen) { return seen.keys == keys; });
  }

  bool hasModifiers(const std::string& modifiers) const {
    return window.waitFor([&](const testing::WlSeen& seen) { return seen.modifiers == modifiers; });
  }

  testing::WlWindow window;
};

TEST_F(WlEventPosterKeysTest, StrikesTheFirstKeyAlready) {
  strike(a);
  EXPECT_TRUE(hasTyped("a")) << window.seen().text;
}

TEST_F(WlEventPosterKeysTest, StrikesEveryKeyAtItsPlace) {
  beHeardBy(window);
  const keys::Xkb<xkb_context> context(xkb_context_new(XKB_CONTEXT_NO_FLAGS));
  const keys::Xkb<xkb_keymap> keymap(
      xkb_keymap_new_from_names(context.get(), nullptr, XKB_KEYMAP_COMPILE_NO_FLAGS));
  std::size_t count = 0;
  for (KeyCode code = 0; code < 0x80; ++code) {
    const auto position = keys::keyPosition(code);
    if (position.empty()) continue;
    ++count;
    const auto key = xkb_keymap_key_by_name(keymap.get(), position.data()) - keys::keycodeOffset;
    press(code);
    EXPECT_TRUE(holds({key})) << position;
    release(code);
    EXPECT_TRUE(holds({})) << position;
  }
  EXPECT_GT(count, 90U);
}

TEST_F(WlEventPosterKeysTest, PressesNothingTwice) {
  beHeardBy(window);
  press(a);
  press(a);
  release(a);
  release(a);
  strike(0x0B);
  ASSERT_TRUE(hasTyped("ab"));
  EXPECT_EQ(window.seen().count("key 30 down"), 1U);
  EXPECT_EQ(window.seen().count("key 30 up"), 1U);
}

TEST_F(WlEventPosterKeysTest, MakesTheFlagsTrueBeforeTheKey) {
  beHeardBy(window);
  press(a, eventFlag::shift | eventFlag::control);
  EXPECT_TRUE(holds({29, 30, 42}));
  EXPECT_TRUE(hasModifiers("5 0 0 0"));
  press(0x0B, eventFlag::alternate | eventFlag::command);
  EXPECT_TRUE(holds({30, 48, 56, 125}));
  EXPECT_TRUE(hasModifiers("72 0 0 0"));
  release(a);
  release(0x0B);
  mouse(EventType::mouseMoved, {5, 5}, MouseButton::left, 0);
  EXPECT_TRUE(holds({}));
  EXPECT_TRUE(hasModifiers("0 0 0 0"));
}

TEST_F(WlEventPosterKeysTest, PressesTheModifierKeyThatTheViewerPresses) {
  beHeardBy(window);
  modifiers(shiftRight, true, eventFlag::shift);
  EXPECT_TRUE(holds({54}));
  strike(a, eventFlag::shift);
  EXPECT_TRUE(hasTyped("A"));
  modifiers(optionRight, true, eventFlag::shift | eventFlag::alternate);
  EXPECT_TRUE(holds({54, 100}));
  type(u"x");
  EXPECT_TRUE(holds({}));
  press(a, eventFlag::shift);
  EXPECT_TRUE(holds({30, 54})) << "the same one again";
  release(a);
  modifiers(shiftRight, false, 0);
  EXPECT_TRUE(holds({}));
  press(a, eventFlag::shift);
  EXPECT_TRUE(holds({30, 42})) << "the usual one";
}

TEST_F(WlEventPosterKeysTest, LocksCapsForAsLongAsTheViewerHasIt) {
  beHeardBy(window);
  strike(a, eventFlag::alphaShift);
  EXPECT_TRUE(hasTyped("A"));
  strike(a, eventFlag::alphaShift | eventFlag::shift);
  EXPECT_TRUE(hasTyped("Aa"));
  strike(a, 0);
  EXPECT_TRUE(hasTyped("Aaa"));
  strike(a, eventFlag::alphaShift);
  EXPECT_TRUE(hasTyped("AaaA"));
  gate.close();
  EXPECT_TRUE(hasModifiers("0 0 0 0"));
  gate.open();
  strike(a);
  EXPECT_TRUE(hasTyped("AaaAa"));
}

TEST_F(WlEventPosterKeysTest, TypesDigitsWithTheKeypad) {
  beHeardBy(window);
  strike(keypadOne);
  strike(0x41);
  EXPECT_TRUE(hasTyped("1."));
  strike(a, eventFlag::shift);
  strike(keypadOne);
  EXPECT_TRUE(hasTyped("1.A1"));
}

TEST_F(WlEventPosterKeysTest, LetsGoOfModifiersOnlyWhileTheGateIsShut) {
  beHeardBy(window);
  modifiers(shiftLeft, true, eventFlag::shift);
  ASSERT_TRUE(holds({42}));
  gate.close();
  EXPECT_TRUE(holds({}));
  modifiers(shiftLeft, true, eventFlag::shift);
  press(a, eventFlag::shift);
  mouse(EventType::leftMouseDown, {100, 100});
  gate.open();
  strike(0x0B);
  EXPECT_TRUE(hasTyped("b"));
  EXPECT_EQ(window.seen().count("button"), 0U);
  EXPECT_EQ(window.seen().count("key 42 down"), 1U);
}

TEST_F(WlEventPosterKeysTest, HasThePersonsLayout) {
  PersonsKeyboard person("de");
  strike(y);
  EXPECT_TRUE(hasTyped("z")) << window.seen().text;
  strike(0x27);
  EXPECT_TRUE(hasTyped("zä"));
}

TEST_F(WlEventPosterKeysTest, FollowsThePersonsLayoutAndNotItsOwn) {
  PersonsKeyboard person("us");
  strike(y);
  EXPECT_TRUE(hasTyped("y"));
  person.use("de");
  strike(y);
  EXPECT_TRUE(hasTyped("yz"));
  type(u"中");
  strike(y);
  EXPECT_TRUE(hasTyped("yz中z"));
  gate.close();
  gate.open();
  strike(y);
  EXPECT_TRUE(hasTyped("yz中zz"));
  person.use("us");
  strike(y);
  EXPECT_TRUE(hasTyped("yz中zzy"));
}

TEST_F(WlEventPosterKeysTest, HasTheMachinesLayoutWhereThereIsNoKeyboard) {
  ::setenv("XKB_DEFAULT_LAYOUT", "fr", 1);
  strike(a);
  ::unsetenv("XKB_DEFAULT_LAYOUT");
  EXPECT_TRUE(hasTyped("q")) << window.seen().text;
}

}  // namespace
}  // namespace vesk::wayland::input::VESK_FILE
