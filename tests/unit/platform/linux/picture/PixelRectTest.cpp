#include "platform/linux/picture/PixelRect.h"

#include <gtest/gtest.h>

#include <random>

namespace vesk::picture::VESK_FILE {
namespace {

bool contains(const PixelRect& rect, int x, int y) {
  return x >= rect.x && x < rect.right() && y >= rect.y && y < rect.bottom();
}

int covering(const std::vector<PixelRect>& rects, int x, int y) {
  int count = 0;
  for (const auto& rect : rects) count += contains(rect, x, y) ? 1 : 0;
  return count;
}

TEST(PixelRectTest, FindsWhatTwoHaveInCommon) {
  EXPECT_EQ(intersection({0, 0, 10, 10}, {5, 5, 10, 10}), (PixelRect{5, 5, 5, 5}));
  EXPECT_EQ(intersection({-5, -5, 20, 20}, {0, 0, 10, 8}), (PixelRect{0, 0, 10, 8}));
  EXPECT_TRUE(intersection({0, 0, 10, 10}, {10, 0, 5, 5}).isEmpty());
  EXPECT_TRUE(intersection({0, 0, 10, 10}, {40, 40, 5, 5}).isEmpty());
}

TEST(PixelRectTest, GoesAroundTwo) {
  EXPECT_EQ(around({0, 0, 4, 4}, {10, 2, 5, 8}), (PixelRect{0, 0, 15, 10}));
  EXPECT_EQ(around({6, 5, 4, 4}, {10, 3, 5, 8}), (PixelRect{6, 3, 9, 8}));
  EXPECT_EQ(around({}, {10, 2, 5, 8}), (PixelRect{10, 2, 5, 8}));
  EXPECT_EQ(around({10, 2, 5, 8}, {3, 3, 0, 9}), (PixelRect{10, 2, 5, 8}));
}

TEST(PixelRectTest, GrowsOnEverySide) {
  EXPECT_EQ(padded({10, 20, 5, 6}, 3), (PixelRect{7, 17, 11, 12}));
}

TEST(PixelRectTest, MovesToTheRightAndDown) {
  EXPECT_EQ(moved({10, 20, 5, 6}, 3, 4), (PixelRect{13, 24, 5, 6}));
}

TEST(PixelRectTest, CutsAHoleAndCoversEachPixelOnce) {
  std::mt19937 random(5);
  const auto some = [&] {
    const auto number = [&](int most) {
      return static_cast<int>(random() % static_cast<unsigned>(most));
    };
    return PixelRect{number(30), number(30), number(12), number(12)};
  };
  for (int round = 0; round < 200; ++round) {
    std::vector<PixelRect> rects;
    for (int i = 0; i < 5; ++i) rects.push_back(some());
    const PixelRect hole = some();
    const auto once = disjoint(rects);
    const auto cut = without(once, hole);
    for (int y = 0; y < 45; ++y) {
      for (int x = 0; x < 45; ++x) {
        const int expected = covering(rects, x, y) > 0 ? 1 : 0;
        ASSERT_EQ(covering(once, x, y), expected) << x << " " << y;
        ASSERT_EQ(covering(cut, x, y), contains(hole, x, y) ? 0 : expected) << x << " " << y;
      }
    }
  }
}

}  // namespace
}  // namespace vesk::picture::VESK_FILE
