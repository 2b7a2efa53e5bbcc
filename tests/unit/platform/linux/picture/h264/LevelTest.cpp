#include "platform/linux/picture/h264/level.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>

namespace vesk::picture::h264::VESK_FILE {
namespace {

int numberFor(std::int32_t width, std::int32_t height, std::int64_t pace, std::int64_t bitRate) {
  return levelFor(width, height, pace, bitRate).number;
}

TEST(LevelTest, FollowsTheSizeAndThePace) {
  EXPECT_EQ(numberFor(176, 144, 15, 50'000), 10);
  EXPECT_EQ(numberFor(640, 360, 30, 1'000'000), 30);
  EXPECT_EQ(numberFor(1280, 720, 30, 1'000'000), 31);
  EXPECT_EQ(numberFor(1280, 720, 60, 1'000'000), 32);
  EXPECT_EQ(numberFor(1920, 1080, 30, 4'000'000), 40);
  EXPECT_EQ(numberFor(1920, 1080, 60, 4'000'000), 42);
  EXPECT_EQ(numberFor(1920, 1920, 60, 4'000'000), 51);
  EXPECT_EQ(numberFor(16384, 16384, 60, 4'000'000), 62) << "the highest, where none is enough";
}

TEST(LevelTest, FollowsTheBitRate) {
  EXPECT_EQ(numberFor(640, 360, 30, 15'000'000), 41);
  EXPECT_EQ(numberFor(1920, 1080, 30, 18'000'000), 40);
  EXPECT_EQ(numberFor(1920, 1080, 30, 19'000'000), 41) << "a tenth more than twenty megabits";
  EXPECT_EQ(numberFor(1920, 1080, 30, 100'000'000), 50);
  const auto level = levelFor(1920, 1080, 30, 4'000'000);
  EXPECT_LE(level.mostBitRate * 11 / 10, 20'000'000);
}

TEST(LevelTest, HasRoomForAKeyFrameOfTheRate) {
  EXPECT_EQ(numberFor(1280, 720, 30, 4'000'000), 31);
  EXPECT_EQ(numberFor(1280, 720, 30, 4'608'000), 31) << "345600 bytes in 0.6 seconds";
  EXPECT_EQ(numberFor(1280, 720, 30, 4'608'100), 41);
  EXPECT_EQ(numberFor(1280, 720, 30, 8'000'000), 41) << "600 kB";
  EXPECT_EQ(numberFor(1920, 1080, 30, 8'000'000), 40);
}

TEST(LevelTest, FollowsALongEdge) {
  EXPECT_EQ(numberFor(1920, 16, 30, 1'000'000), 31) << "120 macroblocks need 1800 to a picture";
  EXPECT_EQ(numberFor(28 * 16, 16, 1, 1000), 10);
  EXPECT_EQ(numberFor(29 * 16, 16, 1, 1000), 11);
  EXPECT_EQ(numberFor(256 * 16, 16, 1, 1000), 40);
  EXPECT_EQ(numberFor(16, 257 * 16, 1, 1000), 42);
}

/// Of each level: macroblocks a second, the largest picture in macroblocks, kilobits a second for
/// baseline, and by how much a picture is compressed at least (ITU-T H.264, A.3).
struct Limits {
  int number;
  std::int64_t perSecond;
  std::int32_t across;
  std::int32_t down;
  std::int64_t kilobits;
  std::int64_t compression;

  std::int64_t bitRate() const { return kilobits * 10'000 / 11; }
};

constexpr Limits levels[] = {
    {10, 1485, 11, 9, 64, 2},
    {11, 3000, 22, 18, 192, 2},
    {12, 6000, 22, 18, 384, 2},
    {13, 11'880, 22, 18, 768, 2},
    {20, 11'880, 22, 18, 2000, 2},
    {21, 19'800, 36, 22, 4000, 2},
    {22, 20'250, 45, 36, 4000, 2},
    {30, 40'500, 45, 36, 10'000, 2},
    {31, 108'000, 60, 60, 14'000, 4},
    {32, 216'000, 80, 64, 20'000, 4},
    {40, 245'760, 128, 64, 20'000, 4},
    {41, 245'760, 128, 64, 50'000, 2},
    {42, 522'240, 136, 64, 50'000, 2},
    {50, 589'824, 184, 120, 135'000, 2},
    {51, 983'040, 192, 192, 240'000, 2},
    {52, 2'073'600, 192, 192, 240'000, 2},
    {60, 4'177'920, 512, 272, 240'000, 2},
    {61, 8'355'840, 512, 272, 480'000, 2},
    {62, 16'711'680, 512, 272, 800'000, 2},
};

/// The first level of which it is true.
template <typename Rule>
const Limits& lowest(Rule rule) {
  return *std::find_if(std::begin(levels), std::end(levels) - 1, rule);
}

TEST(LevelTest, TakesAsManyMacroblocksASecondAsItMay) {
  for (const Limits& limits : levels) {
    for (const std::int64_t pace : {limits.perSecond, limits.perSecond + 1}) {
      const auto& expected = lowest([&](const Limits& each) { return each.perSecond >= pace; });
      const Level level = levelFor(16, 16, pace, 1000);
      EXPECT_EQ(level.number, expected.number) << pace;
      if (pace > expected.perSecond) continue;
      EXPECT_EQ(level.mostPictureBytes,
                static_cast<std::size_t>(expected.perSecond / pace * 384 / expected.compression));
    }
  }
}

TEST(LevelTest, TakesAsLargePicturesAsItMay) {
  for (const Limits& limits : levels) {
    const auto& expected = lowest(
        [&](const Limits& each) { return each.across * each.down >= limits.across * limits.down; });
    EXPECT_EQ(numberFor(limits.across * 16, limits.down * 16, 1, 1000), expected.number);
    EXPECT_EQ(numberFor(limits.down * 16, limits.across * 16, 1, 1000), expected.number);
  }
  EXPECT_EQ(numberFor(10 * 16, 10 * 16, 1, 1000), 11) << "one more than 99";
  EXPECT_EQ(numberFor(61 * 16, 13 * 16, 1, 1000), 22) << "one more than 792";
  EXPECT_EQ(numberFor(311 * 16, 71 * 16, 1, 1000), 51) << "one more than 22080";
  EXPECT_EQ(numberFor(365 * 16, 101 * 16, 1, 1000), 60) << "one more than 36864";
}

TEST(LevelTest, TakesAsManyBitsASecondAsItMay) {
  for (const Limits& limits : levels) {
    for (const std::int64_t bitRate : {limits.bitRate(), limits.bitRate() + 1}) {
      const auto& expected = lowest([&](const Limits& each) { return each.bitRate() >= bitRate; });
      const Level level = levelFor(16, 16, 1, bitRate);
      EXPECT_EQ(level.number, expected.number) << bitRate;
      EXPECT_EQ(level.mostBitRate, expected.bitRate());
      EXPECT_EQ(level.mostPictureBytes,
                static_cast<std::size_t>(384 * (expected.perSecond / 172) / expected.compression));
    }
  }
}

TEST(LevelTest, NamesTheLargestPicture) {
  EXPECT_EQ(levelFor(1920, 1080, 30, 4'000'000).mostPictureBytes, 783'360U) << "8160 macroblocks";
  EXPECT_EQ(levelFor(1280, 720, 30, 4'000'000).mostPictureBytes, 345'600U);
  EXPECT_EQ(levelFor(1280, 720, 60, 4'000'000).mostPictureBytes, 345'600U);
  EXPECT_EQ(levelFor(1920, 1080, 60, 4'000'000).mostPictureBytes, 384 * 8160 / 2U);
}

TEST(LevelTest, NamesTheMostSlices) {
  EXPECT_EQ(levelFor(1920, 1080, 30, 4'000'000).mostSlices, 136U);
  EXPECT_EQ(levelFor(1920, 1080, 60, 4'000'000).mostSlices, 522'240U / 60 / 24);
  EXPECT_EQ(levelFor(1280, 720, 30, 1'000'000).mostSlices, 60U);
  EXPECT_EQ(levelFor(640, 360, 30, 1'000'000).mostSlices, 61U);
  EXPECT_EQ(levelFor(176, 144, 15, 50'000).mostSlices, 99U) << "one for each macroblock";
}

}  // namespace
}  // namespace vesk::picture::h264::VESK_FILE
