#include "platform/DeliberateAct.h"

#include <gtest/gtest.h>

namespace vesk::VESK_FILE {
namespace {

using Time = DeliberateAct::Time;
using Keys = DeliberateAct::Keys;

constexpr unsigned returnKey = 36;
constexpr unsigned tabKey = 23;
constexpr Time start{1'000'000};

Time at(int milliseconds) { return start + Time(milliseconds); }

Keys holding(unsigned key) { return Keys().set(key); }

/// In sight, in its place and in focus since `start`, with no key held.
class DeliberateActTest : public ::testing::Test {
 protected:
  void SetUp() override {
    act_.comesIntoSight();
    act_.getsFocus(Keys());
    act_.confirm(start);
  }

  bool strikes(unsigned key, Time down, Time up) {
    const bool pressed = act_.keyGoesDown(key, down);
    EXPECT_EQ(act_.keyGoesUp(key, up), pressed);
    return pressed;
  }

  bool clicks(Time down) {
    const bool pressed = act_.buttonGoesDown(down);
    return act_.buttonGoesUp() && pressed;
  }

  DeliberateAct act_;
};

TEST_F(DeliberateActTest, CountsFromHalfASecondOn) {
  for (const int early : {-10, 0, 100, 400, 499}) {
    EXPECT_FALSE(strikes(returnKey, at(early), at(early))) << early;
    EXPECT_FALSE(clicks(at(early))) << early;
  }
  EXPECT_TRUE(strikes(returnKey, at(500), at(501)));
  EXPECT_TRUE(clicks(at(500)));
}

TEST_F(DeliberateActTest, CountsNothingThatItWasNotToldToBe) {
  DeliberateAct blind;
  EXPECT_FALSE(blind.keyGoesDown(returnKey, at(1000)));
  EXPECT_FALSE(blind.buttonGoesDown(at(1000)));
  blind.confirm(start);
  EXPECT_FALSE(blind.keyGoesDown(tabKey, at(1000)));
  EXPECT_FALSE(blind.buttonGoesDown(at(1000)));
  blind.comesIntoSight();
  blind.getsFocus(Keys());
  EXPECT_FALSE(strikes(100000, at(1000), at(1001)));
}

TEST_F(DeliberateActTest, CountsNothingBeforeATimeIsConfirmed) {
  act_.getsFocus(Keys());
  EXPECT_FALSE(strikes(returnKey, at(5000), at(5001)));
  act_.moves();
  EXPECT_FALSE(clicks(at(5000)));
  act_.confirm(at(6000));
  EXPECT_FALSE(strikes(returnKey, at(6499), at(6499)));
  EXPECT_TRUE(strikes(returnKey, at(6501), at(6502)));
  EXPECT_FALSE(clicks(at(6499)));
  EXPECT_TRUE(clicks(at(6500)));
}

TEST_F(DeliberateActTest, ConfirmsOnlyWhatHadNoTimeYet) {
  act_.confirm(at(400));
  EXPECT_TRUE(strikes(returnKey, at(500), at(501)));
  EXPECT_TRUE(clicks(at(500)));
}

TEST_F(DeliberateActTest, NeedsSightForKeysAndClicks) {
  act_.goesOutOfSight();
  EXPECT_FALSE(strikes(returnKey, at(1000), at(1001)));
  EXPECT_FALSE(clicks(at(1000)));
  act_.moves();
  act_.comesIntoSight();
  act_.confirm(at(2000));
  EXPECT_FALSE(strikes(returnKey, at(2499), at(2499)));
  EXPECT_FALSE(clicks(at(2499)));
  EXPECT_TRUE(strikes(returnKey, at(2500), at(2501)));
  EXPECT_TRUE(clicks(at(2500)));
}

TEST_F(DeliberateActTest, StaysInSightWhenItComesIntoSightTwice) {
  act_.comesIntoSight();
  EXPECT_TRUE(strikes(returnKey, at(500), at(501)));
  EXPECT_TRUE(clicks(at(500)));
}

TEST_F(DeliberateActTest, NeedsNoFocusForClicks) {
  act_.losesFocus();
  EXPECT_TRUE(clicks(at(500)));
  EXPECT_FALSE(strikes(returnKey, at(5000), at(5001)));
}

TEST_F(DeliberateActTest, WaitsAnewForClicksAloneWhenItMoves) {
  act_.moves();
  act_.confirm(at(1000));
  EXPECT_TRUE(strikes(returnKey, at(1001), at(1002)));
  EXPECT_FALSE(clicks(at(1499)));
  EXPECT_TRUE(clicks(at(1500)));
}

TEST_F(DeliberateActTest, CountsNoClickWhosePressCameTooEarly) {
  EXPECT_FALSE(act_.buttonGoesDown(at(400)));
  EXPECT_FALSE(act_.buttonGoesUp());
  EXPECT_TRUE(clicks(at(600)));
}

TEST_F(DeliberateActTest, CountsNoClickOfAnAlertThatMovedBetweenPressAndRelease) {
  EXPECT_TRUE(act_.buttonGoesDown(at(600)));
  act_.moves();
  EXPECT_FALSE(act_.buttonGoesUp());
  act_.confirm(at(700));
  EXPECT_TRUE(act_.buttonGoesDown(at(1300)));
  act_.goesOutOfSight();
  EXPECT_FALSE(act_.buttonGoesUp());
}

TEST_F(DeliberateActTest, CountsAKeyThatIsHeldOnlyWhenItIsPressedAnew) {
  act_.getsFocus(holding(returnKey));
  act_.confirm(start);
  for (int time = 600; time < 3000; time += 30) EXPECT_FALSE(act_.keyGoesDown(returnKey, at(time)));
  EXPECT_FALSE(act_.keyGoesUp(returnKey, at(3000)));
  EXPECT_TRUE(strikes(returnKey, at(3100), at(3150)));
}

/// Where the server tells of each repeat as of a release and a press.
TEST_F(DeliberateActTest, TakesAPressAtTheVeryTimeOfItsReleaseForARepeat) {
  act_.getsFocus(holding(returnKey));
  act_.confirm(start);
  for (int time = 600; time < 3000; time += 30) {
    EXPECT_FALSE(act_.keyGoesUp(returnKey, at(time)));
    EXPECT_FALSE(act_.keyGoesDown(returnKey, at(time)));
  }
  EXPECT_FALSE(act_.keyGoesUp(returnKey, at(3000)));
  EXPECT_TRUE(strikes(returnKey, at(3001), at(3050)));
}

TEST_F(DeliberateActTest, CountsOnePressOfAKeyThatIsHeldFromThenOn) {
  EXPECT_TRUE(act_.keyGoesDown(tabKey, at(600)));
  EXPECT_FALSE(act_.keyGoesDown(tabKey, at(1200)));
  EXPECT_TRUE(act_.keyGoesUp(tabKey, at(1230)));
  EXPECT_FALSE(act_.keyGoesDown(tabKey, at(1230)));
  EXPECT_FALSE(act_.keyGoesUp(tabKey, at(1260)));
}

TEST_F(DeliberateActTest, RemembersAKeyThatWentDownTooEarly) {
  EXPECT_FALSE(act_.keyGoesDown(returnKey, at(400)));
  EXPECT_FALSE(act_.keyGoesDown(returnKey, at(1060)));
  EXPECT_FALSE(act_.keyGoesUp(returnKey, at(1100)));
  EXPECT_TRUE(strikes(returnKey, at(1200), at(1210)));
}

TEST_F(DeliberateActTest, LetsOtherKeysCountWhileOneIsHeld) {
  act_.getsFocus(holding(50));
  act_.confirm(start);
  EXPECT_TRUE(strikes(returnKey, at(600), at(700)));
  EXPECT_FALSE(act_.keyGoesUp(50, at(800)));
}

TEST_F(DeliberateActTest, BeginsAnewEachTimeThatTheFocusComes) {
  EXPECT_TRUE(act_.keyGoesDown(tabKey, at(600)));
  act_.losesFocus();
  EXPECT_FALSE(act_.keyGoesUp(tabKey, at(700)));
  act_.getsFocus(holding(returnKey));
  act_.confirm(at(1000));
  EXPECT_FALSE(act_.keyGoesDown(returnKey, at(2000)));
  EXPECT_FALSE(strikes(tabKey, at(1400), at(1410)));
  EXPECT_TRUE(strikes(tabKey, at(1500), at(1510)));
  // What was held is asked for each time.
  act_.getsFocus(Keys());
  act_.confirm(at(3000));
  EXPECT_TRUE(strikes(returnKey, at(3500), at(3510)));
}

}  // namespace
}  // namespace vesk::VESK_FILE
