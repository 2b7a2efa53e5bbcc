#include "platform/linux/banner/OverlayShapes.h"

#include <gtest/gtest.h>

namespace vesk::banner::VESK_FILE {
namespace {

using Rects = std::vector<PixelRect>;

TEST(PixelRectTest, RoundsEdgesNotSizes) {
  EXPECT_EQ(pixelRect({{440, 0}, 560, 26}, 1), (PixelRect{440, 0, 560, 26}));
  EXPECT_EQ(pixelRect({{440, 0}, 560, 26}, 1.5), (PixelRect{660, 0, 840, 39}));
  EXPECT_EQ(pixelRect({{66.6, 0}, 199.8, 26}, 1), (PixelRect{67, 0, 199, 26}));
  EXPECT_EQ(pixelRect({{-10.4, -3}, 20, 6}, 2), (PixelRect{-21, -6, 40, 12}));
}

TEST(BorderEdgesTest, RunAlongTheInsideAndDoNotOverlap) {
  EXPECT_EQ(borderEdges({100, 50, 640, 480}, 8),
            (Rects{{100, 50, 640, 8}, {100, 522, 640, 8}, {100, 58, 8, 464}, {732, 58, 8, 464}}));
}

TEST(BorderEdgesTest, LeaveOutWhatFindsNoRoom) {
  EXPECT_EQ(borderEdges({0, 0, 60, 60}, 40), (Rects{{0, 0, 60, 40}, {0, 40, 60, 20}}));
  EXPECT_EQ(borderEdges({0, 0, 10, 10}, 0), Rects{});
  EXPECT_EQ(borderEdges({0, 0, 0, 0}, 8), Rects{});
}

TEST(TabRowsTest, CoverTheWholeHeightAndGetNarrower) {
  const auto rows = tabRows(560, 26, 6);
  ASSERT_EQ(rows.size(), 7U);
  EXPECT_EQ(rows[0], (PixelRect{0, 0, 560, 20}));
  for (std::size_t i = 1; i < rows.size(); ++i) {
    EXPECT_EQ(rows[i].y, 19 + static_cast<int>(i));
    EXPECT_GE(rows[i].x, rows[i - 1].x);
    EXPECT_EQ(rows[i].width, 560 - 2 * rows[i].x);
  }
  EXPECT_GT(rows[6].x, 2);
  EXPECT_LT(rows[6].x, 6);
}

TEST(TabRowsTest, AreOneRectangleWithoutACorner) {
  EXPECT_EQ(tabRows(100, 26, 0), (Rects{{0, 0, 100, 26}}));
}

}  // namespace
}  // namespace vesk::banner::VESK_FILE
