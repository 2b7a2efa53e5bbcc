#include "platform/linux/x11/beneath/Traces.h"

#include <gtest/gtest.h>

namespace vesk::x11::beneath::VESK_FILE {
namespace {

using Parts = std::vector<PixelRect>;
using std::chrono::milliseconds;

class TracesTest : public ::testing::Test {
 protected:
  Traces traces;
  Traces::Time now{std::chrono::hours(1)};
};

TEST_F(TracesTest, LastForAMoment) {
  EXPECT_EQ(traces.overdueAt(), Traces::Time::max());
  traces.leave({0, 0, 10, 10}, now);
  traces.leave({50, 0, 10, 10}, now - milliseconds(100));
  EXPECT_EQ(traces.overdueAt(), now + milliseconds(400));
  traces.forgetUntil(now + milliseconds(399));
  EXPECT_EQ(traces.parts(), (Parts{{0, 0, 10, 10}, {50, 0, 10, 10}}));
  traces.forgetUntil(now + milliseconds(400));
  EXPECT_EQ(traces.parts(), (Parts{{0, 0, 10, 10}}));
  EXPECT_EQ(traces.overdueAt(), now + milliseconds(500));
}

TEST_F(TracesTest, GrowTogetherAndLastAsLongAsTheLonger) {
  traces.leave({0, 0, 100, 20}, now);
  traces.leave({50, 0, 100, 20}, now - milliseconds(100));
  EXPECT_EQ(traces.parts(), (Parts{{0, 0, 150, 20}}));
  EXPECT_EQ(traces.overdueAt(), now + milliseconds(500));
}

TEST_F(TracesTest, StayApartWhereTheyWouldSurroundMuchThatNothingWasIn) {
  traces.leave({0, 0, 100, 8}, now);
  traces.leave({0, 0, 8, 100}, now);
  EXPECT_EQ(traces.parts(), (Parts{{0, 0, 100, 8}, {0, 0, 8, 100}}));
}

TEST_F(TracesTest, AreNoneOfWhatHasNoPixels) {
  traces.leave({0, 0, 0, 10}, now);
  EXPECT_EQ(traces.parts(), Parts{});
}

}  // namespace
}  // namespace vesk::x11::beneath::VESK_FILE
