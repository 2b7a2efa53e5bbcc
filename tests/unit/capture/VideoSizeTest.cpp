#include "capture/videoSize.h"

#include <gtest/gtest.h>

#include <limits>

namespace vesk::VESK_FILE {
namespace {

TEST(VideoSizeTest, KeepsWhatFits) {
  EXPECT_EQ(videoSize({1920, 1080}), (PixelSize{1920, 1080}));
  EXPECT_EQ(videoSize({1080, 1920}), (PixelSize{1080, 1920}));
  EXPECT_EQ(videoSize({800, 600}), (PixelSize{800, 600}));
}

TEST(VideoSizeTest, BringsTheLongerEdgeToTheLimit) {
  EXPECT_EQ(videoSize({2880, 1800}), (PixelSize{1920, 1200}));
  EXPECT_EQ(videoSize({3024, 1964}), (PixelSize{1920, 1246}));
  EXPECT_EQ(videoSize({3840, 2160}), (PixelSize{1920, 1080}));
  EXPECT_EQ(videoSize({5120, 2880}), (PixelSize{1920, 1080}));
  EXPECT_EQ(videoSize({2560, 1600}), (PixelSize{1920, 1200}));
  EXPECT_EQ(videoSize({2160, 3840}), (PixelSize{1080, 1920}));
  EXPECT_EQ(videoSize({3840, 2159}), (PixelSize{1920, 1078}));
}

TEST(VideoSizeTest, RoundsOddEdgesDown) {
  EXPECT_EQ(videoSize({1365, 767}), (PixelSize{1364, 766}));
  EXPECT_EQ(videoSize({1367, 769}), (PixelSize{1366, 768}));
  EXPECT_EQ(videoSize({1, 1}), (PixelSize{0, 0}));
}

TEST(VideoSizeTest, TakesAnotherLimit) {
  EXPECT_EQ(videoSize({1920, 1080}, 960), (PixelSize{960, 540}));
}

TEST(VideoSizeTest, HoldsForTheLargestEdges) {
  constexpr auto largest = std::numeric_limits<std::int64_t>::max();
  EXPECT_EQ(videoSize({largest, largest}), (PixelSize{1920, 1920}));
}

TEST(VideoSizeTest, LeavesWhatFitsExactlyAsItIs) {
  constexpr std::int64_t noDouble = (std::int64_t{1} << 54) + 2;
  EXPECT_EQ(videoSize({noDouble, 2}, noDouble), (PixelSize{noDouble, 2}));
}

TEST(VideoSizeTest, HoldsForTheLeastEdge) {
  constexpr auto least = std::numeric_limits<std::int64_t>::min();
  EXPECT_EQ(videoSize({least / 2, -1}, -2), (PixelSize{least, -2}));
}

TEST(VideoSizeDeathTest, EndsTheProcessBeyondItsRange) {
  constexpr auto least = std::numeric_limits<std::int64_t>::min();
  EXPECT_DEATH(videoSize({1, least}, -1), "a video size does not fit 64 bits");
  EXPECT_DEATH(videoSize({0, 0}, -1), "a video size does not fit 64 bits");
}

}  // namespace
}  // namespace vesk::VESK_FILE
