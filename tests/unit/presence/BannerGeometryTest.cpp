#include "presence/BannerGeometry.h"

#include <gtest/gtest.h>

namespace vesk::VESK_FILE {
namespace {

TEST(StripFrameTest, IsThreeFifthsOfTheScreenAndNoWiderThanItMayBe) {
  EXPECT_EQ(stripFrame({{0, 0}, 1440, 900}), (Rect{{440, 0}, 560, 26}));
  EXPECT_EQ(stripFrame({{0, 0}, 800, 600}), (Rect{{160, 0}, 480, 26}));
  EXPECT_EQ(stripFrame({{0, 0}, 1000, 600}).width, 560);
  EXPECT_EQ(stripFrame({{0, 0}, 900, 600}).width, 540);
}

TEST(StripFrameTest, HangsFromTheTopOfAScreenAnywhere) {
  EXPECT_EQ(stripFrame({{1920, -200}, 1280, 1024}), (Rect{{2280, -200}, 560, 26}));
  EXPECT_EQ(stripFrame({{-800, 600}, 800, 600}), (Rect{{-640, 600}, 480, 26}));
}

TEST(StripLabelFrameTest, LeavesAMarginAllAround) {
  EXPECT_EQ(stripLabelFrame({{440, 0}, 560, 26}), (Rect{{8, 4}, 544, 18}));
  EXPECT_EQ(stripLabelFrame({{160, 70}, 480, 26}), (Rect{{8, 4}, 464, 18}));
}

}  // namespace
}  // namespace vesk::VESK_FILE
