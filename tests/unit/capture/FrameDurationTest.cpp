#include "capture/frameDuration.h"

#include <gtest/gtest.h>

#include <limits>

namespace vesk::VESK_FILE {
namespace {

TEST(FrameDurationTest, IsOneFramesTimeForTheFirstFrame) {
  EXPECT_EQ(frameDuration(std::nullopt, 30), Ticks{3000});
  EXPECT_EQ(frameDuration(std::nullopt, 60), Ticks{1500});
  EXPECT_EQ(frameDuration(std::nullopt, 5), Ticks{18000});
  EXPECT_EQ(frameDuration(std::nullopt, 7), Ticks{12857});
  EXPECT_EQ(frameDuration(std::nullopt, 1), Ticks{90000});
}

TEST(FrameDurationTest, IsTheTimeSinceTheFrameBefore) {
  EXPECT_EQ(frameDuration(0.005, 30), Ticks{450});
  EXPECT_EQ(frameDuration(0.1, 30), Ticks{9000});
  EXPECT_EQ(frameDuration(0.0333, 30), Ticks{2997});
}

TEST(FrameDurationTest, IsCutOffAfterThreeFrames) {
  EXPECT_EQ(frameDuration(10.0, 30), Ticks{9000});
  EXPECT_EQ(frameDuration(1e300, 60), Ticks{4500});
}

TEST(FrameDurationTest, IsAtLeastOneTick) {
  EXPECT_EQ(frameDuration(1e-9, 30), Ticks{1});
  EXPECT_EQ(frameDuration(1.9 / 90'000, 30), Ticks{1});
}

TEST(FrameDurationTest, IsOneFramesTimeWithoutAUsableInterval) {
  constexpr double infinity = std::numeric_limits<double>::infinity();
  for (const double seconds :
       {0.0, -0.5, infinity, -infinity, std::numeric_limits<double>::quiet_NaN()}) {
    EXPECT_EQ(frameDuration(seconds, 30), Ticks{3000}) << seconds;
  }
}

TEST(FrameDurationDeathTest, EndsTheProcessWithoutAFrameRate) {
  EXPECT_DEATH(frameDuration(0.1, 0), "a frame's duration was asked for at no frame rate");
  EXPECT_DEATH(frameDuration(std::nullopt, -30),
               "a frame's duration was asked for at no frame rate");
}

}  // namespace
}  // namespace vesk::VESK_FILE
