#include "platform/linux/wayland/beneath/fillFromSurroundings.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

namespace vesk::wayland::beneath::VESK_FILE {
namespace {

class FillFromSurroundingsTest : public ::testing::Test {
 protected:
  static constexpr int width = 40;
  static constexpr int height = 30;

  void fill(const PixelRect& area, std::vector<PixelRect> unknown = {}) {
    std::vector<CoveredRun> runs;
    for (int y = area.y; y < area.bottom(); ++y) runs.push_back({area.x, y, area.width});
    unknown.push_back(area);
    fillFromSurroundings(pixels(), area, runs, unknown);
  }
  Pixels pixels() { return {memory.data(), width * 4, width, height}; }
  void paint(const PixelRect& area, std::uint8_t value) {
    for (int y = area.y; y < area.bottom(); ++y)
      std::fill_n(pixels().at(area.x, y), area.width * 4, value);
  }
  int at(int x, int y) { return *pixels().at(x, y); }

  std::vector<std::uint8_t> memory = std::vector<std::uint8_t>(width * height * 4, 100);
};

TEST_F(FillFromSurroundingsTest, ContinuesWhatIsEverywhereAround) {
  paint({10, 10, 8, 6}, 0);
  fill({10, 10, 8, 6});
  EXPECT_EQ(std::ranges::count(memory, 100), static_cast<long>(memory.size()) - 8 * 6);
  EXPECT_EQ(std::ranges::count(memory, 0), 8 * 6) << "the byte that says nothing";
}

TEST_F(FillFromSurroundingsTest, FollowsTheNearerSideTheMore) {
  paint({0, 0, 20, height}, 0);
  paint({20, 0, 20, height}, 200);
  const PixelRect area{10, 0, 20, height};
  fill(area);
  // Neither above nor below is anything.
  EXPECT_LT(at(10, 15), 20);
  EXPECT_GT(at(29, 15), 180);
  for (int x = 11; x < 30; ++x) EXPECT_GE(at(x, 15), at(x - 1, 15)) << x;
}

TEST_F(FillFromSurroundingsTest, TakesEachRowAndColumnByItself) {
  for (int x = 0; x < width; ++x) paint({x, 0, 1, height}, static_cast<std::uint8_t>(5 * x));
  paint({0, 0, width, 4}, 255);
  fill({0, 0, width, 4});
  for (int x = 0; x < width; ++x) EXPECT_EQ(at(x, 2), 5 * x) << x;
}

TEST_F(FillFromSurroundingsTest, LooksNeitherBeyondTheEdgeNorIntoOtherUnknownAreas) {
  paint({0, 0, 5, height}, 255);
  paint({15, 0, 25, height}, 255);
  fill({5, 0, 10, height}, {{0, 0, 5, height}});
  EXPECT_EQ(at(7, 7), 255) << "from the right alone";
  paint({0, 0, width, height}, 30);
  paint({5, 0, 10, height}, 255);
  fill({5, 0, 10, height}, {{0, 0, 5, height}, {15, 0, 25, height}});
  EXPECT_EQ(at(7, 7), 255) << "nothing is known";
}

TEST_F(FillFromSurroundingsTest, FillsTheCornersOfARing) {
  paint({0, 0, width, height}, 255);
  paint({4, 4, width - 8, height - 8}, 60);
  const std::vector<PixelRect> edges{{0, 0, width, 4},
                                     {0, height - 4, width, 4},
                                     {0, 4, 4, height - 8},
                                     {width - 4, 4, 4, height - 8}};
  for (const auto& edge : edges) fill(edge, edges);
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) ASSERT_EQ(at(x, y), 60) << x << "," << y;
  }
}

TEST_F(FillFromSurroundingsTest, PaintsTheRunsAlone) {
  paint({10, 10, 10, 10}, 7);
  const std::vector<CoveredRun> runs{{12, 11, 3}, {11, 14, 1}};
  const PixelRect area{10, 10, 10, 10};
  fillFromSurroundings(pixels(), area, runs, std::vector{area});
  int painted = 0;
  for (int y = 10; y < 20; ++y) {
    for (int x = 10; x < 20; ++x) painted += at(x, y) == 100 ? 1 : 0;
  }
  EXPECT_EQ(painted, 4);
  EXPECT_EQ(at(14, 11), 100);
  EXPECT_EQ(at(15, 11), 7);
}

}  // namespace
}  // namespace vesk::wayland::beneath::VESK_FILE
