#include "capture/frameRate.h"

#include <gtest/gtest.h>

#include <limits>

namespace vesk::VESK_FILE {
namespace {

TEST(FrameRateTest, IsKeptBetweenFiveAndSixty) {
  EXPECT_EQ(frameRate(0), 5);
  EXPECT_EQ(frameRate(1), 5);
  EXPECT_EQ(frameRate(-7), 5);
  EXPECT_EQ(frameRate(5), 5);
  EXPECT_EQ(frameRate(30), 30);
  EXPECT_EQ(frameRate(60), 60);
  EXPECT_EQ(frameRate(200), 60);
  EXPECT_EQ(frameRate(std::numeric_limits<std::int64_t>::max()), 60);
  EXPECT_EQ(frameRate(std::numeric_limits<std::int64_t>::min()), 5);
}

}  // namespace
}  // namespace vesk::VESK_FILE
