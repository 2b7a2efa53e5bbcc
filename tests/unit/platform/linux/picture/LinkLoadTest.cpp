#include "platform/linux/picture/LinkLoad.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace vesk::picture::VESK_FILE {
namespace {

using namespace std::chrono_literals;

constexpr double rate = 1e6;
constexpr double window = 3 * 1.02 * rate;

TEST(LinkLoadTest, IsEmptiedAtTheRateAndNeverOwesAnything) {
  LinkLoad load;
  load.pass(0ns, rate);
  load.add(500'000);
  EXPECT_DOUBLE_EQ(load.waiting(), 500'000);
  load.pass(200ms, rate);
  EXPECT_DOUBLE_EQ(load.waiting(), 300'000);
  EXPECT_DOUBLE_EQ(load.room(0.5), 200'000);
  load.pass(10s, rate);
  EXPECT_DOUBLE_EQ(load.waiting(), 0) << "a second of nothing is no second more for later";
  EXPECT_DOUBLE_EQ(load.room(0.5), 500'000);
}

TEST(LinkLoadTest, HasNoRoomBeyondWhatThreeSecondsMayHold) {
  LinkLoad load;
  load.pass(0ns, rate);
  for (int i = 0; i < 4; ++i) {
    load.add(700'000);
    load.pass(700ms, rate);
  }
  EXPECT_NEAR(load.room(1), window - 2'800'000, 1);
  load.pass(200ms, rate);
  EXPECT_NEAR(load.room(1), window - 2'100'000, 1) << "the first of them is three seconds old";
}

TEST(LinkLoadTest, KeepsRoomForWhatIsToCome) {
  LinkLoad load;
  load.pass(0ns, rate);
  load.add(600'000);
  load.pass(1s, rate);
  EXPECT_NEAR(load.roomUntil(3, 600'000), 3'100'000, 1);
  EXPECT_NEAR(load.roomUntil(2.5, 600'000), 2'460'000, 1);
  load.add(1'000'000);
  // What was sent a second ago will be out of the window by then, what was sent now will not.
  EXPECT_NEAR(load.roomUntil(2.5, 600'000), std::min(1'600'000.0, window - 1'600'000), 1);
  EXPECT_NEAR(load.roomUntil(2.5, 2'000'000), window - 3'000'000, 1);
}

TEST(LinkLoadTest, FirstTakesWhatWaits) {
  LinkLoad load;
  load.pass(0ns, rate);
  EXPECT_DOUBLE_EQ(load.windowRoom(1), 3 * rate);
  load.add(500'000);
  // A tenth of a second's worth may wait still when a key frame comes.
  EXPECT_NEAR(load.roomUntil(0.5, 0), 100'000, 1);
  EXPECT_NEAR(load.roomUntil(3, 0), 2'600'000, 1);
}

TEST(LinkLoadTest, FollowsAChangeOfTheRate) {
  LinkLoad load;
  load.pass(0ns, rate);
  load.add(400'000);
  load.pass(100ms, 2 * rate);
  EXPECT_DOUBLE_EQ(load.waiting(), 200'000);
  EXPECT_DOUBLE_EQ(load.room(0.5), 800'000);
}

TEST(LinkLoadTest, ForgetsInALaterWindowWhatWillHaveLeftItByThen) {
  LinkLoad load;
  load.pass(0s, 1000);
  load.add(900);
  load.pass(2s, 1000);
  load.add(500);
  EXPECT_DOUBLE_EQ(load.windowRoom(1), 3000 - 1400);
  EXPECT_DOUBLE_EQ(load.windowRoom(1, 0.9), 3000 - 1400);
  EXPECT_DOUBLE_EQ(load.windowRoom(1, 1.1), 3000 - 500);
  EXPECT_DOUBLE_EQ(load.windowRoom(1, 3.1), 3000);
}

}  // namespace
}  // namespace vesk::picture::VESK_FILE
