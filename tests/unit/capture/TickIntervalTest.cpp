#include "capture/tickInterval.h"

#include <gtest/gtest.h>

namespace vesk::VESK_FILE {
namespace {

TEST(TickIntervalTest, IsOneSecondDividedInWholeNanoseconds) {
  EXPECT_EQ(tickInterval(30).count(), 33'333'333);
  EXPECT_EQ(tickInterval(60).count(), 16'666'666);
  EXPECT_EQ(tickInterval(5).count(), 200'000'000);
  EXPECT_EQ(tickInterval(1).count(), 1'000'000'000);
}

TEST(TickIntervalDeathTest, EndsTheProcessWithoutAFrameRate) {
  EXPECT_DEATH(tickInterval(0), "a timer was asked for at no frame rate");
}

}  // namespace
}  // namespace vesk::VESK_FILE
