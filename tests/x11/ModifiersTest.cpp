#include <gtest/gtest.h>
#include <xkbcommon/xkbcommon-keysyms.h>

#include "x11/EventRecorder.h"
#include "x11/Session.h"

namespace vesk::testing::VESK_FILE {
namespace {

using Kind = Received::Kind;

constexpr int superMask = XCB_MOD_MASK_4;
constexpr int altMask = XCB_MOD_MASK_1;

int stateOf(int mask) {
  int state = 0;
  if ((mask & 1) != 0) state |= XCB_MOD_MASK_SHIFT;
  if ((mask & 2) != 0) state |= XCB_MOD_MASK_CONTROL;
  if ((mask & 4) != 0) state |= altMask;
  if ((mask & 8) != 0) state |= superMask;
  return state;
}

class ModifiersTest : public ::testing::Test {
 protected:
  /// The state with which a key, that types nothing and changes nothing, arrives.
  int stateOfKey(const std::string& rest) {
    recorder_.take();
    hands_.send(R"({"t":"k","c":112,"e":"down")" + rest + "}");
    hands_.send(R"({"t":"k","c":112,"e":"up")" + rest + "}");
    for (const auto& event : recorder_.take())
      if (event.kind == Kind::keyDown && event.symbol == XKB_KEY_F1) return event.state & 0xFF;
    return -1;
  }

  Session session_;
  EventRecorder recorder_;
  Hands hands_;
};

TEST_F(ModifiersTest, HoldForTheVeryEventThatReportsThem) {
  for (const int mask : {0, 1, 2, 4, 8, 15, 3, 12, 0, 9, 0}) {
    const std::string rest = R"(,"m":)" + std::to_string(mask);
    EXPECT_EQ(stateOfKey(rest), stateOf(mask)) << mask;
    hands_.send(R"({"t":"m","e":"down","x":0.5,"y":0.5)" + rest + "}");
    hands_.send(R"({"t":"m","e":"up","x":0.5,"y":0.5)" + rest + "}");
    for (const auto& event : recorder_.take()) {
      if (event.kind != Kind::buttonDown) continue;
      EXPECT_EQ(event.state & 0xFF, stateOf(mask)) << mask;
    }
  }
  EXPECT_EQ(session_.keysDown(), std::vector<int>{});
}

TEST_F(ModifiersTest, AreAllLetGoAtOnce) {
  stateOfKey(R"(,"m":15)");
  EXPECT_EQ(session_.keysDown().size(), 4U);
  hands_.releaseAll();
  EXPECT_EQ(session_.keysDown(), std::vector<int>{});
  EXPECT_EQ(session_.pointerState(), 0);
}

TEST_F(ModifiersTest, FollowTheViewersOwnKeys) {
  hands_.key(161, true, 1);
  ASSERT_EQ(session_.keysDown().size(), 1U);
  EXPECT_EQ(stateOfKey(R"(,"m":1)"), stateOf(1));
  hands_.key(161, false, 0);
  EXPECT_EQ(session_.keysDown(), std::vector<int>{});
}

TEST_F(ModifiersTest, AreTrueWhereTheLayoutHasMovedThem) {
  session_.setLayout({"us", "-option", "ctrl:swapcaps"});
  EXPECT_EQ(stateOfKey(R"(,"m":2)"), stateOf(2));
  hands_.key(162, true, 2);
  EXPECT_EQ(stateOfKey(R"(,"m":2)"), stateOf(2));
  hands_.key(162, false, 0);
  EXPECT_EQ(session_.keysDown(), std::vector<int>{});
  EXPECT_EQ(session_.lockedModifiers(), 0);
}

TEST_F(ModifiersTest, OfThePersonStayDown) {
  ASSERT_EQ(run({"xdotool", "keydown", "Shift_L"}), 0);
  const auto before = session_.keysDown();
  ASSERT_EQ(before.size(), 1U);
  stateOfKey(R"(,"m":0)");
  stateOfKey(R"(,"m":1)");
  stateOfKey(R"(,"m":0)");
  hands_.key(160, true, 1);
  hands_.key(160, false, 0);
  hands_.text("abc");
  hands_.releaseAll();
  EXPECT_EQ(session_.keysDown(), before);
}

TEST_F(ModifiersTest, AndKeysOfThePersonStayDown) {
  ASSERT_EQ(run({"xdotool", "keydown", "a", "mousedown", "1"}), 0);
  const auto keys = session_.keysDown();
  hands_.strike('A');
  hands_.click(0, 0.5, 0.5);
  hands_.releaseAll();
  EXPECT_EQ(session_.keysDown(), keys);
  EXPECT_EQ(session_.pointerState(), XCB_BUTTON_MASK_1);
}

TEST_F(ModifiersTest, CapsLockHoldsWhileTheViewerHoldsIt) {
  hands_.send(R"({"t":"k","c":20,"e":"down"})");
  EXPECT_EQ(session_.lockedModifiers(), XCB_MOD_MASK_LOCK);
  recorder_.take();
  hands_.strike('A');
  EXPECT_EQ(recorder_.takeText(), "A");
  hands_.send(R"({"t":"k","c":20,"e":"up"})");
  EXPECT_EQ(session_.lockedModifiers(), 0);
  hands_.strike('A');
  EXPECT_EQ(recorder_.takeText(), "a");
}

TEST_F(ModifiersTest, CapsLockIsLetGoWithTheRest) {
  hands_.send(R"({"t":"k","c":20,"e":"down"})");
  hands_.releaseAll();
  EXPECT_EQ(session_.lockedModifiers(), 0);
}

TEST_F(ModifiersTest, CapsLockOfThePersonIsSetAsideForEachStroke) {
  ASSERT_EQ(run({"xdotool", "key", "Caps_Lock"}), 0);
  ASSERT_EQ(session_.lockedModifiers(), XCB_MOD_MASK_LOCK);
  recorder_.take();
  hands_.strike('A');
  hands_.strike('A', 1);
  hands_.key(160, false, 0);
  hands_.text("aB");
  EXPECT_EQ(recorder_.takeText(), "aAaB");
  EXPECT_EQ(session_.lockedModifiers(), XCB_MOD_MASK_LOCK);
}

TEST_F(ModifiersTest, NumLockIsSetAsideForADigitOfTheKeypad) {
  ASSERT_EQ(session_.lockedModifiers(), 0);
  hands_.strike(0x67);
  EXPECT_EQ(recorder_.take().at(0).symbol, xkb_keysym_t{XKB_KEY_KP_7});
  EXPECT_EQ(session_.lockedModifiers(), 0);
  ASSERT_EQ(run({"xdotool", "key", "Num_Lock"}), 0);
  recorder_.take();
  hands_.strike(0x67);
  EXPECT_EQ(recorder_.take().at(0).symbol, xkb_keysym_t{XKB_KEY_KP_7});
  EXPECT_EQ(session_.lockedModifiers(), XCB_MOD_MASK_2);
}

}  // namespace
}  // namespace vesk::testing::VESK_FILE
