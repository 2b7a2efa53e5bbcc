#include "platform/macos/flipped.h"

#include <gtest/gtest.h>

namespace vesk::mac::VESK_FILE {
namespace {

constexpr double primaryHeight = 900;

TEST(FlippedTest, KeepsThePrimaryScreenWhereItIs) {
  EXPECT_EQ(flipped({{0, 0}, 1440, 900}, primaryHeight), (Rect{{0, 0}, 1440, 900}));
}

TEST(FlippedTest, PutsTheUpperEdgeOnTheOtherSide) {
  EXPECT_EQ(flipped({{440, 0}, 560, 26}, primaryHeight), (Rect{{440, 874}, 560, 26}));
  EXPECT_EQ(flipped({{8, 4}, 544, 18}, 26), (Rect{{8, 4}, 544, 18}));
}

TEST(FlippedTest, KnowsScreensAboveAndBelowThePrimaryOne) {
  EXPECT_EQ(flipped({{0, 900}, 1920, 1080}, primaryHeight), (Rect{{0, -1080}, 1920, 1080}));
  EXPECT_EQ(flipped({{0, -1080}, 1920, 1080}, primaryHeight), (Rect{{0, 900}, 1920, 1080}));
}

TEST(FlippedTest, IsItsOwnInverse) {
  constexpr Rect rect{{-300, 12.5}, 640, 77};
  EXPECT_EQ(flipped(flipped(rect, primaryHeight), primaryHeight), rect);
}

}  // namespace
}  // namespace vesk::mac::VESK_FILE
