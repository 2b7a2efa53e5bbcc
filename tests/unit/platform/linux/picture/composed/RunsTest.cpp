#include "platform/linux/picture/composed/runs.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

namespace vesk::picture::composed::VESK_FILE {
namespace {

using Runs = std::vector<Run>;

/// Rows of the same length: # is what has changed.
std::vector<std::uint8_t> marks(const std::string& picture) {
  std::vector<std::uint8_t> unchanged;
  for (const char each : picture) unchanged.push_back(each == '#' ? 0 : 1);
  return unchanged;
}

TEST(ChangedRunsTest, GoFromLeftToRightAndDown) {
  EXPECT_EQ(changedRuns(marks("....."), 5), Runs{});
  EXPECT_EQ(changedRuns(marks("##......"
                              "......##"
                              "########"),
                        8),
            (Runs{{0, 0, 2}, {1, 6, 2}, {2, 0, 8}}));
}

TEST(ChangedRunsTest, CloseAGapThatCostsLessThanAnotherSlice) {
  EXPECT_EQ(changedRuns(marks("#..#...#"), 8), (Runs{{0, 0, 4}, {0, 7, 1}}));
  EXPECT_EQ(changedRuns(marks(".......#"
                              "#......."),
                        8),
            (Runs{{0, 7, 1}, {1, 0, 1}}))
      << "from one row to the next";
  EXPECT_EQ(changedRuns(marks("#......."
                              "#...#.#."),
                        8),
            (Runs{{0, 0, 1}, {1, 0, 1}, {1, 4, 3}}))
      << "wherever it is";
}

TEST(WindowsTest, EndWithWhatHasChangedWhereThereIsRoom) {
  const Runs run{{3, 50, 5}};
  EXPECT_EQ(windowsOver(run, 120), (Runs{{3, 47, 8}}));
  const Runs atTheLeft{{3, 1, 5}};
  EXPECT_EQ(windowsOver(atTheLeft, 120), (Runs{{3, 0, 8}}));
}

TEST(WindowsTest, AreAsWideAsThePictureAtMost) {
  EXPECT_EQ(windowWidths(5), (std::vector<int>{1, 2, 5}));
  EXPECT_EQ(windowWidths(1), (std::vector<int>{1}));
  const Runs run{{0, 1, 3}};
  EXPECT_EQ(windowsOver(run, 5), (Runs{{0, 0, 5}}));
}

TEST(WindowsTest, ShareOneWhereTwoHaveNoRoom) {
  const Runs close{{0, 0, 3}, {0, 6, 3}};
  EXPECT_EQ(windowsOver(close, 120), (Runs{{0, 0, 32}}));
}

/// Whatever has changed: each change is covered once, in order, by windows that there are.
TEST(WindowsTest, CoverAllThatHasChangedOnce) {
  std::mt19937 random(5);
  for (int round = 0; round < 3000; ++round) {
    const int across = 1 + static_cast<int>(random() % 130);
    const int down = 1 + static_cast<int>(random() % 4);
    const auto rare = 1 + random() % 12;
    std::vector<std::uint8_t> unchanged(static_cast<std::size_t>(across * down));
    for (auto& each : unchanged) each = random() % rare != 0 ? 1 : 0;
    const auto widths = windowWidths(across);
    std::vector<int> covered(unchanged.size());
    int next = 0;
    for (const auto& window : windowsOver(changedRuns(unchanged, across), across)) {
      ASSERT_NE(std::ranges::find(widths, window.count), widths.end()) << window.count;
      ASSERT_LE(window.end(), across);
      ASSERT_GE(window.row * across + window.first, next) << "in order, and beside one another";
      next = window.row * across + window.end();
      for (int i = next - window.count; i < next; ++i) ++covered[static_cast<std::size_t>(i)];
    }
    for (std::size_t i = 0; i < unchanged.size(); ++i) {
      const int least = unchanged[i] == 0 ? 1 : 0;
      ASSERT_TRUE(covered[i] >= least && covered[i] <= 1) << i << " of " << across << "x" << down;
    }
  }
}

/// What moves is in none of them, and there are windows for any run without it.
TEST(WindowsTest, LeaveOutWhatMoves) {
  const auto unchanged = marks(".........#####..");
  std::vector<std::uint8_t> moved(16);
  EXPECT_EQ(windowsBeside(unchanged, moved, 16), (Runs{{0, 6, 8}}));
  moved[8] = 1;
  EXPECT_EQ(windowsBeside(unchanged, moved, 16), (Runs{{0, 9, 2}, {0, 11, 2}, {0, 13, 1}}));
  const auto nearTheEdge = marks("...#####........");
  const std::vector<std::uint8_t> none(16);
  EXPECT_EQ(windowsBeside(nearTheEdge, none, 16), (Runs{{0, 0, 8}})) << "which is room enough";
}

TEST(WindowsTest, CoverAllThatIsLeftBesideAnyMove) {
  std::mt19937 random(6);
  for (int round = 0; round < 3000; ++round) {
    const int across = 1 + static_cast<int>(random() % 130);
    const auto rare = 1 + random() % 6;
    std::vector<std::uint8_t> unchanged(static_cast<std::size_t>(across * 3));
    std::vector<std::uint8_t> moved(unchanged.size());
    for (std::size_t i = 0; i < unchanged.size(); ++i) {
      unchanged[i] = random() % rare != 0 ? 1 : 0;
      moved[i] = unchanged[i] != 0 && random() % 2 == 0 ? 1 : 0;
    }
    std::vector<int> covered(unchanged.size());
    const auto widths = windowWidths(across);
    int next = 0;
    for (const auto& window : windowsBeside(unchanged, moved, across)) {
      ASSERT_NE(std::ranges::find(widths, window.count), widths.end()) << window.count;
      ASSERT_LE(window.end(), across);
      ASSERT_GE(window.row * across + window.first, next);
      next = window.row * across + window.end();
      for (int i = next - window.count; i < next; ++i) ++covered[static_cast<std::size_t>(i)];
    }
    for (std::size_t i = 0; i < unchanged.size(); ++i) {
      const int least = unchanged[i] == 0 ? 1 : 0;
      ASSERT_TRUE(covered[i] >= least && covered[i] <= (moved[i] == 0 ? 1 : 0)) << i;
    }
  }
}

TEST(MostRunsTest, LeaveASliceForWhatIsSkippedBetween) {
  EXPECT_EQ(mostRuns(136), 60U);
  EXPECT_EQ(mostRuns(68), 33U);
  EXPECT_EQ(mostRuns(1), 0U);
  EXPECT_EQ(mostRuns(0), 0U);
}

using Windows = std::vector<composed::Run>;
using Stacks = std::vector<std::vector<std::size_t>>;

TEST(StacksTest, HoldNarrowWindowsOneBelowTheOther) {
  const Windows windows{{3, 7, 2}, {3, 20, 8}, {4, 7, 2}, {4, 20, 8}, {6, 7, 2}};
  EXPECT_EQ(stacksOf(windows), (Stacks{{0, 2}, {1, 3}, {4}}));
}

TEST(StacksTest, HoldNoneThatIsBesideOrOfAnotherWidth) {
  const Windows windows{{3, 7, 2}, {4, 8, 2}, {4, 20, 1}, {5, 8, 1}};
  EXPECT_EQ(stacksOf(windows), (Stacks{{0}, {1}, {2}, {3}}));
}

/// Each height needs an encoder of its own.
TEST(StacksTest, AreEightTwoOrOneHighAndWideOnesLower) {
  const auto heights = [](int count, int rows) {
    Windows windows;
    for (int row = 0; row < rows; ++row) windows.push_back({row, 0, count});
    std::vector<std::size_t> all;
    for (const auto& stack : stacksOf(windows)) all.push_back(stack.size());
    return all;
  };
  EXPECT_EQ(heights(1, 21), (std::vector<std::size_t>{8, 8, 2, 2, 1}));
  EXPECT_EQ(heights(2, 9), (std::vector<std::size_t>{8, 1}));
  EXPECT_EQ(heights(8, 9), (std::vector<std::size_t>{2, 2, 2, 2, 1}));
  EXPECT_EQ(heights(32, 3), (std::vector<std::size_t>{1, 1, 1}));
  EXPECT_TRUE(heights(1, 0).empty());
}

}  // namespace
}  // namespace vesk::picture::composed::VESK_FILE
