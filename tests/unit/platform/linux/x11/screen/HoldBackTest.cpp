#include "platform/linux/x11/screen/HoldBack.h"

#include <gtest/gtest.h>

namespace vesk::x11::screen::VESK_FILE {
namespace {

using beneath::Disturbance;
using std::chrono::milliseconds;

class HoldBackTest : public ::testing::Test {
 protected:
  bool waits(Disturbance disturbance, int after) {
    return holdBack.isToWait(disturbance, begin + milliseconds(after));
  }

  HoldBack::Time begin{std::chrono::hours(1)};
  HoldBack holdBack;
};

TEST_F(HoldBackTest, LetsAPictureThroughThatNothingHasSpoilt) {
  EXPECT_FALSE(waits(Disturbance::none, 0));
  EXPECT_FALSE(holdBack.isOn());
}

TEST_F(HoldBackTest, WaitsForASeamToGoButNotForLong) {
  EXPECT_TRUE(waits(Disturbance::seam, 0));
  EXPECT_TRUE(holdBack.isOn());
  EXPECT_TRUE(waits(Disturbance::seam, 150));
  EXPECT_FALSE(waits(Disturbance::seam, 151));
  EXPECT_FALSE(holdBack.isOn());
  EXPECT_TRUE(waits(Disturbance::seam, 152)) << "the next one has its own time";
}

TEST_F(HoldBackTest, WaitsForAnOwnWindowHoweverLongItTakes) {
  EXPECT_TRUE(waits(Disturbance::ownWindow, 0));
  EXPECT_TRUE(waits(Disturbance::ownWindow, 10'000));
  EXPECT_FALSE(waits(Disturbance::seam, 10'001)) << "it has waited for long enough";
  EXPECT_TRUE(waits(Disturbance::ownWindow, 10'002));
  EXPECT_FALSE(waits(Disturbance::none, 10'003));
}

}  // namespace
}  // namespace vesk::x11::screen::VESK_FILE
