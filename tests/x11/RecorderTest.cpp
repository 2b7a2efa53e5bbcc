#include <gtest/gtest.h>
#include <xkbcommon/xkbcommon-keysyms.h>

#include <map>
#include <utility>

#include "x11/EventRecorder.h"
#include "x11/Session.h"

namespace vesk::testing::VESK_FILE {
namespace {

using Kind = Received::Kind;

class RecorderTest : public ::testing::Test {
 protected:
  /// The buttons and keys of what came, positive for down and negative for up.
  std::vector<int> strokes() {
    std::vector<int> result;
    for (const auto& event : recorder_.take()) {
      if (event.kind == Kind::motion) continue;
      const bool down = event.kind == Kind::keyDown || event.kind == Kind::buttonDown;
      result.push_back(down ? event.detail : -event.detail);
    }
    return result;
  }

  /// The symbol that a key types.
  xkb_keysym_t symbolOf(int code) {
    hands_.strike(code);
    for (const auto& event : recorder_.take())
      if (event.kind == Kind::keyDown) return event.symbol;
    return XKB_KEY_NoSymbol;
  }

  Session session_;
  EventRecorder recorder_;
  Hands hands_;
};

TEST_F(RecorderTest, GetsMotionAtTheVeryPixel) {
  hands_.move(0.5, 0.25);
  hands_.move(0, 0);
  hands_.move(1, 1);
  const auto got = recorder_.take();
  ASSERT_EQ(got.size(), 3U);
  EXPECT_EQ(got[0].kind, Kind::motion);
  EXPECT_EQ(std::pair(got[0].x, got[0].y), std::pair(960, 270));
  EXPECT_EQ(std::pair(got[1].x, got[1].y), std::pair(0, 0));
  // The far edge lies one past the last pixel, where the server stops.
  EXPECT_EQ(std::pair(got[2].x, got[2].y), std::pair(1919, 1079));
}

TEST_F(RecorderTest, GetsEveryColumnForItsOwnFraction) {
  for (int x = 0; x < 1920; x += 7) {
    hands_.send(R"({"t":"m","e":"move","x":)" + std::to_string(x / 1920.0).substr(0, 8) +
                R"(,"y":0.5})");
    const double fraction = std::stod(std::to_string(x / 1920.0));
    EXPECT_NEAR(hands_.poster.pointerLocation()->x, fraction * 1920, 1.0);
  }
  // A fraction that is a pixel but for its last bits is that pixel.
  hands_.send(R"({"t":"m","e":"move","x":0.30052083333333329,"y":0.5})");
  EXPECT_EQ(hands_.poster.pointerLocation()->x, 577);
}

TEST_F(RecorderTest, GetsMotionOnTheMainDisplayWhereverItLies) {
  ASSERT_EQ(run({"xrandr", "--setmonitor", "side", "640/100x1080/200+0+0", "none"}), 0);
  ASSERT_EQ(run({"xrandr", "--setmonitor", "*main", "1000/200x500/100+640+200", "screen"}), 0);
  recorder_.take();
  hands_.move(0, 0);
  hands_.move(0.5, 0.5);
  const auto got = recorder_.take();
  ASSERT_EQ(got.size(), 2U);
  EXPECT_EQ(std::pair(got[0].x, got[0].y), std::pair(640, 200));
  EXPECT_EQ(std::pair(got[1].x, got[1].y), std::pair(1140, 450));
  // The bounds of the very moment count, not those of the last message.
  ASSERT_EQ(run({"xrandr", "--delmonitor", "main"}), 0);
  ASSERT_EQ(run({"xrandr", "--setmonitor", "*main", "500/100x500/100+1000+100", "screen"}), 0);
  hands_.move(0.5, 0.5);
  EXPECT_EQ(hands_.poster.pointerLocation(), (Point{1250, 350}));
}

TEST_F(RecorderTest, GetsTheThreeButtonsWhereTheyWerePressed) {
  for (const int button : {0, 1, 2, 7}) hands_.click(button, 0.5, 0.5);
  EXPECT_EQ(strokes(), (std::vector{1, -1, 2, -2, 3, -3, 1, -1}));
  hands_.button(0, true, 0.25, 0.5);
  hands_.move(0.5, 0.5);
  hands_.button(0, false, 0.75, 0.5);
  const auto got = recorder_.take();
  ASSERT_EQ(got.size(), 5U);
  EXPECT_EQ(got[1].kind, Kind::buttonDown);
  EXPECT_EQ(got[1].x, 480);
  EXPECT_EQ(got[2].state & XCB_BUTTON_MASK_1, XCB_BUTTON_MASK_1);
  EXPECT_EQ(got[4].kind, Kind::buttonUp);
  EXPECT_EQ(got[4].x, 1440);
}

TEST_F(RecorderTest, GetsASecondPressAfterARelease) {
  hands_.button(0, true, 0.5, 0.5);
  hands_.button(0, true, 0.5, 0.5);
  hands_.button(0, false, 0.5, 0.5);
  EXPECT_EQ(strokes(), (std::vector{1, -1, 1, -1}));
}

TEST_F(RecorderTest, GetsTheViewersLeftButtonOfALeftHandedPersonToo) {
  ASSERT_EQ(run({"xmodmap", "-e", "pointer = 3 2 1"}), 0);
  hands_.click(0, 0.5, 0.5);
  hands_.click(2, 0.5, 0.5);
  EXPECT_EQ(strokes(), (std::vector{1, -1, 3, -3}));
}

TEST_F(RecorderTest, GetsOneNotchForAWheelMessageAndNoMotion) {
  hands_.move(0.5, 0.5);
  recorder_.take();
  hands_.send(R"({"t":"m","e":"wheel","d":120})");
  hands_.send(R"({"t":"m","e":"wheel","d":-1,"x":0,"y":0})");
  const auto got = recorder_.take();
  ASSERT_EQ(got.size(), 4U);
  EXPECT_EQ(got[0].detail, 4);
  EXPECT_EQ(got[2].detail, 5);
  EXPECT_EQ(got[2].x, 960);
}

/// What each of the viewer's keys is to a program with a keyboard of the United States.
std::map<int, xkb_keysym_t> symbolsOfKeys() {
  std::map<int, xkb_keysym_t> symbols{{8, XKB_KEY_BackSpace},
                                      {9, XKB_KEY_Tab},
                                      {13, XKB_KEY_Return},
                                      {27, XKB_KEY_Escape},
                                      {32, XKB_KEY_space},
                                      {33, XKB_KEY_Page_Up},
                                      {34, XKB_KEY_Page_Down},
                                      {35, XKB_KEY_End},
                                      {36, XKB_KEY_Home},
                                      {37, XKB_KEY_Left},
                                      {38, XKB_KEY_Up},
                                      {39, XKB_KEY_Right},
                                      {40, XKB_KEY_Down},
                                      {45, XKB_KEY_Insert},
                                      {46, XKB_KEY_Delete},
                                      {16, XKB_KEY_Shift_L},
                                      {17, XKB_KEY_Control_L},
                                      {18, XKB_KEY_Alt_L},
                                      {91, XKB_KEY_Super_L},
                                      {92, XKB_KEY_Super_R},
                                      {160, XKB_KEY_Shift_L},
                                      {161, XKB_KEY_Shift_R},
                                      {162, XKB_KEY_Control_L},
                                      {163, XKB_KEY_Control_R},
                                      {164, XKB_KEY_Alt_L},
                                      {165, XKB_KEY_Alt_R},
                                      {106, XKB_KEY_KP_Multiply},
                                      {107, XKB_KEY_KP_Add},
                                      {109, XKB_KEY_KP_Subtract},
                                      {110, XKB_KEY_KP_Decimal},
                                      {111, XKB_KEY_KP_Divide},
                                      {186, XKB_KEY_semicolon},
                                      {187, XKB_KEY_equal},
                                      {188, XKB_KEY_comma},
                                      {189, XKB_KEY_minus},
                                      {190, XKB_KEY_period},
                                      {191, XKB_KEY_slash},
                                      {192, XKB_KEY_grave},
                                      {219, XKB_KEY_bracketleft},
                                      {220, XKB_KEY_backslash},
                                      {221, XKB_KEY_bracketright},
                                      {222, XKB_KEY_apostrophe},
                                      {226, XKB_KEY_less}};
  for (int i = 0; i < 26; ++i) symbols['A' + i] = XKB_KEY_a + static_cast<unsigned>(i);
  for (int i = 0; i < 10; ++i) symbols['0' + i] = XKB_KEY_0 + static_cast<unsigned>(i);
  for (int i = 0; i < 10; ++i) symbols[96 + i] = XKB_KEY_KP_0 + static_cast<unsigned>(i);
  for (int i = 0; i < 12; ++i) symbols[112 + i] = XKB_KEY_F1 + static_cast<unsigned>(i);
  return symbols;
}

TEST_F(RecorderTest, GetsEveryKey) {
  for (const auto& [code, symbol] : symbolsOfKeys()) {
    const bool isModifier = code >= 16 && code != 27 && (code <= 18 || code >= 160) && code < 186;
    if (isModifier || code == 91 || code == 92) {
      hands_.send(R"({"t":"k","e":"down","c":)" + std::to_string(code) + "}");
      const auto got = recorder_.take();
      ASSERT_EQ(got.size(), 1U) << code;
      EXPECT_EQ(got[0].symbol, symbol) << code;
      hands_.releaseAll();
      recorder_.take();
    } else {
      EXPECT_EQ(symbolOf(code), symbol) << code;
    }
  }
  hands_.send(R"({"t":"k","e":"down","c":13,"x":true,"m":0})");
  EXPECT_EQ(recorder_.take().at(0).symbol, xkb_keysym_t{XKB_KEY_KP_Enter});
}

TEST_F(RecorderTest, GetsCharactersOfThePersonsOwnLayoutByPosition) {
  // Q, Y, the key right of L, 2, and the key left of Z.
  constexpr std::array<int, 4> codes{'Q', 'Y', 0xBA, '2'};
  const std::map<std::string, std::string> expected{
      {"us", "qy;2"}, {"de", "qzö2"}, {"fr", "aymé"}, {"ru", "йнж2"}, {"jp", "qy;2"}};
  for (const auto& [layout, text] : expected) {
    session_.setLayout({layout});
    for (const int code : codes) hands_.strike(code);
    EXPECT_EQ(recorder_.takeText(), text) << layout;
  }
}

TEST_F(RecorderTest, GetsCharactersOfTheSecondLayoutWhileThatIsChosen) {
  session_.setLayout({"us,ru"});
  session_.lockGroup(1);
  hands_.strike('Q');
  EXPECT_EQ(recorder_.takeText(), "й");
  hands_.text("Qй");
  EXPECT_EQ(recorder_.takeText(), "Qй");
  EXPECT_EQ(session_.lockedGroup(), 1);
}

TEST_F(RecorderTest, GetsTheThirdLevelWithTheRightAltKey) {
  session_.setLayout({"de"});
  hands_.key(165, true, 4);
  hands_.strike('Q', 4);
  hands_.key(165, false, 0);
  EXPECT_EQ(recorder_.takeText(), "@");
  EXPECT_EQ(session_.keysDown(), std::vector<int>{});
}

TEST_F(RecorderTest, GetsAHeldKeyAsOftenAsTheServerRepeatsIt) {
  hands_.key('A', true);
  hands_.key('A', true);  // the viewer's own repetition adds nothing to that of the server
  EXPECT_EQ(recorder_.take().size(), 1U);
  EXPECT_GE(recorder_.waitFor(3).size(), 3U);
  hands_.key('A', false);
  recorder_.take();
  EXPECT_EQ(session_.keysDown(), std::vector<int>{});
}

TEST_F(RecorderTest, GetsText) {
  // Few enough characters at a time for a client that reads late.
  for (const std::string text :
       {"Hello, Wörld! Grüße 日本語", "😀🎉 Ωλδ Жыд ł", "👨‍👩‍👧 1️⃣ e\u0301"}) {
    hands_.text(text);
    EXPECT_EQ(recorder_.takeText(), text);
  }
}

TEST_F(RecorderTest, GetsAPairThatWasCutInTwo) {
  hands_.text("123456789012345😀!");
  EXPECT_EQ(recorder_.takeText(), "123456789012345😀!");
}

TEST_F(RecorderTest, GetsNoTextForControlCharactersThatAreNoKeys) {
  hands_.text(std::string("a\x01\x02") + "b");
  EXPECT_EQ(recorder_.takeText(), "ab");
  EXPECT_EQ((hands_.text("\n\t\b"), recorder_.take()).size(), 6U);
}

TEST_F(RecorderTest, GetsTextWithoutTheModifiersThatTheViewerHolds) {
  hands_.key(162, true, 2);
  recorder_.take();
  hands_.text("aBé");
  const auto got = recorder_.take();
  std::string text;
  for (const auto& event : got) {
    if (event.kind != Kind::keyDown) continue;
    EXPECT_EQ(event.state & XCB_MOD_MASK_CONTROL, 0) << event.symbol;
    text += static_cast<char>(event.symbol);
  }
  EXPECT_EQ(text, "aB\xe9");
  // The viewer still holds it.
  hands_.strike('C', 2);
  bool shortcut = false;
  for (const auto& event : recorder_.take())
    shortcut |= event.symbol == XKB_KEY_c && (event.state & XCB_MOD_MASK_CONTROL) != 0;
  EXPECT_TRUE(shortcut);
}

}  // namespace
}  // namespace vesk::testing::VESK_FILE
