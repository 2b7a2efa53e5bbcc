#include <gtest/gtest.h>
#include <xkbcommon/xkbcommon-keysyms.h>

#include <fstream>

#include "platform/linux/x11/input/KeyLevels.h"
#include "support/NoThreads.h"
#include "x11/EventRecorder.h"
#include "x11/ForeignText.h"
#include "x11/QuestionedWindow.h"
#include "x11/Session.h"

namespace vesk::testing::VESK_FILE {
namespace {

constexpr int secondGroup = 1 << 13;
constexpr int groups = 3 << 13;
constexpr int keyOfQ = 24;
constexpr int keyOfX = 53;

/// Which keys of the person's layout, and which of those that it leaves free, text is typed with.
class LayoutTest : public ::testing::Test {
 protected:
  std::vector<Received> presses(const std::string& text) {
    hands_.text(text);
    std::vector<Received> pressed;
    for (const auto& event : recorder_.take())
      if (event.kind == Received::Kind::keyDown) pressed.push_back(event);
    return pressed;
  }

  /// The only press of a text of one character.
  Received press(const std::string& character) {
    const auto pressed = presses(character);
    EXPECT_EQ(pressed.size(), 1U);
    return pressed.empty() ? Received{} : pressed.front();
  }

  /// The usual map with another key of the letter Q, and a type for it.
  void setKeyOfQ(const std::string& type, const std::string& symbols) {
    const auto file = folder_.path() / "map";
    std::ofstream(file) << R"map(xkb_keymap {
        xkb_keycodes { include "evdev+aliases(qwerty)" };
        xkb_types { include "complete" type "ODD" {)map"
                        << type << R"map( }; };
        xkb_compat { include "complete" };
        xkb_symbols { include "pc+us+inet(evdev)"
          key <AD01> { type = "ODD", symbols[Group1] = [)map"
                        << symbols << "] }; }; };";
    ASSERT_EQ(run({"xkbcomp", "-w", "0", file.string(), session_.server().display()}), 0);
  }

  Session session_;
  EventRecorder recorder_;
  Hands hands_;
  TemporaryFolder folder_;
};

TEST_F(LayoutTest, ACharacterOfBothGroupsIsTypedInTheOneThatIsChosen) {
  session_.setLayout({"us,ru"});
  session_.lockGroup(1);
  EXPECT_EQ(press(".").state & groups, secondGroup);
  session_.lockGroup(0);
  EXPECT_EQ(press(".").state & groups, 0);
}

TEST_F(LayoutTest, TheKeyWithTheFewestModifiersIsTaken) {
  ASSERT_EQ(run({"xmodmap", "-e", "keycode 24 = q x"}), 0);
  const auto plain = press("x");
  EXPECT_EQ(plain.detail, keyOfX);
  EXPECT_EQ(plain.state, 0);
}

TEST_F(LayoutTest, TheFewestModifiersThatReachALevelAreTaken) {
  setKeyOfQ(R"(modifiers = Shift + LevelThree;
               map[Shift + LevelThree] = Level2; map[LevelThree] = Level2;
               level_name[Level1] = "1"; level_name[Level2] = "2";)",
            "q, U416");
  const auto pressed = press("Ж");
  EXPECT_EQ(pressed.detail, keyOfQ);
  EXPECT_EQ(pressed.state, XCB_MOD_MASK_5);
}

TEST_F(LayoutTest, ACharacterThatNeedsControlIsLentAnotherKey) {
  setKeyOfQ(R"(modifiers = Control; map[Control] = Level2;
               level_name[Level1] = "1"; level_name[Level2] = "2";)",
            "q, U416");
  const auto pressed = press("Ж");
  EXPECT_NE(pressed.detail, keyOfQ);
  EXPECT_EQ(pressed.state, 0);
  EXPECT_EQ(pressed.symbol, xkb_keysym_t{XKB_KEY_Cyrillic_ZHE});
}

TEST_F(LayoutTest, AKeyOfTheKeypadIsNotTakenForText) {
  // That leaves the digit to the keypad alone.
  ASSERT_EQ(run({"xmodmap", "-e", "keycode 10 = exclam"}), 0);
  EXPECT_EQ(press("1").symbol, xkb_keysym_t{XKB_KEY_1});
}

TEST_F(LayoutTest, ControlCharactersAreNotEvenStruck) {
  std::string text = "a";
  for (char control = 1; control < ' '; ++control)
    if (std::string("\b\t\n\r\x1b").find(control) == std::string::npos) text += control;
  for (int high = 0x80; high <= 0x9F; ++high) text += {'\xC2', static_cast<char>(high)};
  EXPECT_EQ(presses(text + "b").size(), 2U);
}

TEST_F(LayoutTest, HalfAPairDoesNotOutliveAKey) {
  const auto type = [this](std::u16string units) {
    hands_.poster.post(KeyboardEvent{.down = true, .unicode = std::move(units)});
  };
  type({u'a', char16_t{0xD83D}});
  hands_.strike(112);
  type({char16_t{0xDE00}, u'c'});
  EXPECT_EQ(recorder_.takeText(), "ac");
}

TEST_F(LayoutTest, AFewForeignCharactersShareAKey) {
  const auto pressed = presses("日本語漢");
  ASSERT_EQ(pressed.size(), 4U);
  for (const auto& each : pressed) {
    EXPECT_EQ(each.detail, pressed[0].detail);
    EXPECT_EQ(each.state & (XCB_MOD_MASK_CONTROL | XCB_MOD_MASK_LOCK | XCB_MOD_MASK_1), 0);
  }
  EXPECT_EQ(pressed[0].state, 0);
  EXPECT_EQ(session_.lockedModifiers(), 0);
}

TEST_F(LayoutTest, ACharacterStaysOnItsKeyWhileOthersAreLentTheRest) {
  EXPECT_EQ(press("日").symbol, 0x100'0000U + U'日');
  for (int i = 0; i < 30; ++i) {
    presses(foreignText(5, 100 + 5 * i));
    EXPECT_EQ(press("日").symbol, 0x100'0000U + U'日') << i;
  }
}

TEST_F(LayoutTest, WhatOneOfTheKeyboardsCannotHaveIsMappedOnNone) {
  const std::string before = session_.keyMap();
  const x11::input::KeyLevels none{.type = 250, .width = 2, .reached = {{0, 0}, {1, 1}}};
  EXPECT_FALSE(
      x11::input::mapKeys(session_.connection(), none, {{8, {0x1004E00}}, {93, {0x1004E01}}}));
  EXPECT_EQ(session_.keyMap(), before);
  const auto single = x11::input::KeyLevels::single();
  EXPECT_TRUE(
      x11::input::mapKeys(session_.connection(), single, {{8, {0x1004E00}}, {93, {0x1004E01}}}));
  EXPECT_NE(session_.keyMap(), before);
  x11::input::unmapKeys(session_.connection(), std::vector<xcb_keycode_t>{8, 93});
  session_.settle();
  EXPECT_EQ(session_.keyMap(), before);
}

class GivingBackTest : public ::testing::Test {
 protected:
  Session session_;
  QuestionedWindow program_;
  const std::string before_ = session_.keyMap();
};

TEST_F(GivingBackTest, WaitsUntilTheProgramHasReadItsKeys) {
  Hands hands;
  hands.text("日");
  const auto question = program_.waitForQuestion();
  ASSERT_TRUE(question);
  EXPECT_NE(session_.keyMap(), before_);
  program_.answer(*question);
  EXPECT_TRUE(eventually([&] { return session_.keyMap() == before_; }));
}

TEST_F(GivingBackTest, IsPutOffByAnEndOfInputUntilThatIsOver) {
  Hands hands;
  hands.text("日");
  ASSERT_TRUE(program_.waitForQuestion());
  hands.gate.endBy(hands.clock.hostTime());
  hands.poster.pointerLocation();
  EXPECT_NE(session_.keyMap(), before_);
  hands.gate.ended();
  const auto question = program_.waitForQuestion();
  ASSERT_TRUE(question);
  program_.answer(*question);
  EXPECT_TRUE(eventually([&] { return session_.keyMap() == before_; }));
}

TEST_F(GivingBackTest, IsDoneLaterWhereNoThreadCanBeHad) {
  auto none = std::make_optional<NoThreads>();
  Hands hands;
  hands.key('A', true);
  hands.text("日");
  EXPECT_EQ(session_.keysDown().size(), 1U);
  none.reset();
  hands.text("本");
  const auto question = program_.waitForQuestion();
  ASSERT_TRUE(question);
  program_.answer(*question);
  EXPECT_TRUE(eventually([&] { return session_.keyMap() == before_; }));
  hands.gate.close();
  EXPECT_EQ(session_.keysDown(), std::vector<int>{});
}

}  // namespace
}  // namespace vesk::testing::VESK_FILE
