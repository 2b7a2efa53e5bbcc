#include "platform/linux/picture/h264/level.h"

#include <gtest/gtest.h>

namespace vesk::picture::h264 {
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
  EXPECT_EQ(numberFor(1280, 720, 30, 8'000'000), 41) << "600 kB";
  EXPECT_EQ(numberFor(1920, 1080, 30, 8'000'000), 40);
}

TEST(LevelTest, FollowsALongEdge) {
  EXPECT_EQ(numberFor(1920, 16, 30, 1'000'000), 31) << "120 macroblocks need 1800 to a picture";
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
}  // namespace vesk::picture::h264
