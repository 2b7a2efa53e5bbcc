#include "platform/linux/picture/composed/moveSearch.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>

#include "platform/linux/picture/PixelRect.h"
#include "platform/linux/picture/composed/shiftedPlanes.h"
#include "support/PaintedImages.h"

namespace vesk::picture::composed::VESK_FILE {
namespace {

using vesk::testing::PaintedImages;

constexpr PixelSize size{800, 600};
constexpr int width = 800;
constexpr int height = 600;
constexpr int across = 50;
constexpr int down = 38;
constexpr MoveLimits limits{511, 1000};

std::size_t macroblock(int row, int column) {
  return static_cast<std::size_t>(row * across + column);
}

/// The pixels of an image, out to whole macroblocks.
struct Planes {
  static constexpr int stride = across * macroblockEdge;

  explicit Planes(const Nv12Image& image) {
    for (int y = 0; y < height; ++y) {
      std::copy_n(image.luma() + y * image.stride(), width, luma.begin() + y * stride);
    }
    for (int y = 0; y < height / 2; ++y) {
      std::copy_n(image.chroma() + y * image.stride(), width, chroma.begin() + y * stride);
    }
  }

  /// Both planes of a macroblock.
  std::vector<std::uint8_t> pixels(int row, int column) const {
    std::vector<std::uint8_t> all;
    const auto add = [&](const std::vector<std::uint8_t>& plane, int rows, int bottom) {
      for (int y = row * rows; y < std::min((row + 1) * rows, bottom); ++y) {
        const auto first = plane.begin() + y * stride + column * macroblockEdge;
        all.insert(all.end(), first, first + macroblockEdge);
      }
    };
    add(luma, macroblockEdge, height);
    add(chroma, macroblockEdge / 2, height / 2);
    return all;
  }

  std::vector<std::uint8_t> luma = std::vector<std::uint8_t>(stride * down * macroblockEdge);
  std::vector<std::uint8_t> chroma = std::vector<std::uint8_t>(stride * down * macroblockEdge / 2);
};

/// Two images, of which the second one is painted on.
struct Pair {
  explicit Pair(const Nv12Image& first) {
    copy(first, before);
    before.sequence = 1;
    copy(first, now);
    now.sequence = 2;
    std::ranges::fill(now.changedAt, before.sequence);
  }

  /// What lies there in the image before comes to `to`, its chroma by whole samples.
  void move(const PixelRect& to, const Shift& by) {
    for (int y = to.y; y < to.bottom(); ++y) {
      std::copy_n(before.luma() + (y - by.down) * before.stride() + to.x - by.right, to.width,
                  now.luma() + y * now.stride() + to.x);
    }
    for (int y = to.y / 2; y < to.bottom() / 2; ++y) {
      std::copy_n(before.chroma() + (y - by.down / 2) * before.stride() + to.x - by.right / 2 * 2,
                  to.width, now.chroma() + y * now.stride() + to.x);
    }
    mark(to);
  }

  /// Scrolls what is there, and paints what comes into sight.
  void scroll(const PixelRect& rect, const Shift& by) {
    noise(rect);
    move(intersection(rect, moved(rect, by.right, by.down)), by);
  }

  void noise(const PixelRect& rect) {
    for (int y = rect.y; y < rect.bottom(); ++y) {
      for (int x = rect.x; x < rect.right(); ++x) {
        now.luma()[y * now.stride() + x] = static_cast<std::uint8_t>(random());
      }
    }
    mark(rect);
  }

  void mark(const PixelRect& rect) {
    for (int row = rect.y / 16; row <= (rect.bottom() - 1) / 16; ++row) {
      for (int column = rect.x / 16; column <= (rect.right() - 1) / 16; ++column) {
        now.changedAt[macroblock(row, column)] = now.sequence;
      }
    }
  }

  static void copy(const Nv12Image& from, Nv12Image& to) {
    std::copy_n(from.luma(), from.stride() * height * 3 / 2, to.luma());
  }

  Nv12Image before{size};
  Nv12Image now{size};
  std::mt19937 random{1};
};

/// What was found must be true, whatever it is.
void expectTrue(const Pair& pair, const FoundMove& found) {
  Planes made(pair.before);
  shift({made.luma.data(), made.chroma.data(), Planes::stride, Planes::stride}, found.moved);
  const Planes wanted(pair.now);
  std::size_t moved = 0;
  std::size_t left = 0;
  for (int row = 0; row < down; ++row) {
    for (int column = 0; column < across; ++column) {
      const bool isMoved = found.moved.isMoved(row, column);
      const bool isLeft = found.left[macroblock(row, column)] != 0;
      moved += isMoved ? 1 : 0;
      left += isLeft ? 1 : 0;
      EXPECT_FALSE(isMoved && isLeft);
      EXPECT_TRUE(pair.now.changedAt[macroblock(row, column)] == 2 || (!isMoved && !isLeft));
      EXPECT_TRUE(isLeft || made.pixels(row, column) == wanted.pixels(row, column))
          << "row " << row << ", column " << column;
      EXPECT_TRUE(!isMoved || comesFromInside(row, column, found.moved.shift, across, down));
    }
  }
  EXPECT_EQ(found.movedCount, moved);
  EXPECT_EQ(found.leftCount, left);
}

/// The macroblocks of `rect` that come, whole, from within it.
std::size_t wholeOnes(const PixelRect& rect, const Shift& by) {
  const PixelRect come = intersection(rect, moved(rect, by.right, by.down));
  const int columns = come.right() / 16 - (come.x + 15) / 16;
  const int rows = come.bottom() / 16 - (come.y + 15) / 16;
  return static_cast<std::size_t>(std::max(columns, 0) * std::max(rows, 0));
}

std::string text(const Shift& by) {
  return std::to_string(by.right) + " to the right, " + std::to_string(by.down) + " down";
}

TEST(MoveSearchTest, FindsScrolls) {
  const PaintedImages images(size);
  const PixelRect page{100, 40, 600, 520};
  for (const int distance : {-300, -161, -54, -18, -17, -2, -1, 1, 3, 16, 55, 120, 333}) {
    for (const Shift by : {Shift{0, distance}, Shift{distance, 0}}) {
      Pair pair(*images.image());
      pair.scroll(page, by);
      const auto found = findMove(pair.before, pair.now, {511, 2000});
      ASSERT_TRUE(found) << text(by);
      EXPECT_EQ(found->moved.shift, by);
      EXPECT_GE(found->movedCount, wholeOnes(page, by)) << text(by);
      expectTrue(pair, *found);
    }
  }
}

TEST(MoveSearchTest, FindsADraggedWindow) {
  PaintedImages images(size);
  const PixelRect window{203, 150, 311, 260};
  images.patches(window.x, window.y, window.width, window.height);
  for (const Shift by : {Shift{12, 8}, {-33, 21}, {-90, -90}, {95, -1}, {1, 1}, {300, 0}}) {
    Pair pair(*images.image());
    pair.noise(window);
    pair.move(moved(window, by.right, by.down), by);
    const auto found = findMove(pair.before, pair.now, limits);
    ASSERT_TRUE(found) << text(by);
    EXPECT_EQ(found->moved.shift, by);
    EXPECT_GE(found->movedCount, 18U * 15U) << text(by);
    expectTrue(pair, *found);
  }
}

TEST(MoveSearchTest, FindsTheMoveOfAllOfThePicture) {
  const PaintedImages images(size);
  for (const Shift by : {Shift{0, -40}, {0, 40}, {-40, 0}, {40, 0}}) {
    Pair pair(*images.image());
    pair.scroll({0, 0, width, height}, by);
    const auto found = findMove(pair.before, pair.now, limits);
    ASSERT_TRUE(found) << text(by);
    EXPECT_EQ(found->moved.shift, by);
    EXPECT_GE(found->movedCount, wholeOnes({0, 0, width, height}, by));
    expectTrue(pair, *found);
  }
}

TEST(MoveSearchTest, FindsItBesideOtherChanges) {
  const PaintedImages images(size);
  Pair pair(*images.image());
  const PixelRect page{16, 16, 400, 500};
  pair.scroll(page, {0, -36});
  pair.noise({500, 100, 200, 200});
  pair.noise({100, 200, 5, 18});
  const auto found = findMove(pair.before, pair.now, limits);
  ASSERT_TRUE(found);
  EXPECT_EQ(found->moved.shift, (Shift{0, -36}));
  EXPECT_NE(found->left[macroblock(10, 40)], 0);
  EXPECT_NE(found->left[macroblock(12, 6)], 0);
  expectTrue(pair, *found);
}

TEST(MoveSearchTest, GoesByTheLargerOfTwoParts) {
  const PaintedImages images(size);
  for (const int edge : {240, 352}) {
    Pair pair(*images.image());
    pair.scroll({0, 0, width, edge}, {0, -36});
    pair.scroll({0, edge, width, height - edge}, {0, -20});
    const auto found = findMove(pair.before, pair.now, {511, 2000});
    ASSERT_TRUE(found);
    EXPECT_EQ(found->moved.shift.down, 2 * edge > height ? -36 : -20);
    expectTrue(pair, *found);
  }
}

TEST(MoveSearchTest, IsNotMisledByEqualLines) {
  PaintedImages images(size);
  // Every line but two is the same.
  Pair first(*images.image());
  for (int y = 0; y + 18 <= 558; y += 18) {
    first.move({0, y, width, 18}, {0, y - 300});
  }
  first.noise({0, 216, width, 36});
  Pair pair(first.now);
  const PixelRect page{0, 0, width, 558};
  pair.scroll(page, {0, -54});
  const auto found = findMove(pair.before, pair.now, limits);
  ASSERT_TRUE(found);
  EXPECT_EQ(found->moved.shift, (Shift{0, -54}));
  expectTrue(pair, *found);
}

/// Colours lie on every other pixel, and where they were not, a decoder has the mean of two.
TEST(MoveSearchTest, MovesColoursByWholeSamplesAndFlatOnesAnyhow) {
  const PaintedImages images(size);
  Pair first(*images.image());
  const auto colour = [&](const PixelRect& rect, bool flat) {
    for (int y = rect.y / 2; y < rect.bottom() / 2; ++y) {
      for (int x = rect.x; x < rect.right(); ++x) {
        first.now.chroma()[y * first.now.stride() + x] =
            static_cast<std::uint8_t>(flat ? 70 : first.random());
      }
    }
  };
  colour({0, 0, 400, height}, true);
  colour({400, 0, 400, height}, false);
  for (const Shift by : {Shift{0, -32}, {0, -33}, {-33, 0}}) {
    Pair pair(first.now);
    pair.scroll({0, 0, width, height}, by);
    const auto found = findMove(pair.before, pair.now, {511, 2000});
    ASSERT_TRUE(found) << text(by);
    EXPECT_EQ(found->moved.shift, by);
    EXPECT_TRUE(found->moved.isMoved(10, 10));
    EXPECT_EQ(found->moved.isMoved(10, 40), by.down == -32) << text(by);
    expectTrue(pair, *found);
  }
}

TEST(MoveSearchTest, TakesWhatIsTheSameAllTheSameForUnchanged) {
  const PaintedImages images(size);
  Pair pair(*images.image());
  pair.mark({0, 0, width, height});
  pair.scroll({160, 160, 320, 320}, {0, -30});
  const auto found = findMove(pair.before, pair.now, limits);
  ASSERT_TRUE(found);
  EXPECT_FALSE(found->moved.isMoved(5, 5));
  EXPECT_EQ(found->left[macroblock(5, 5)], 0);
  EXPECT_LE(found->movedCount, 20U * 20U);
  expectTrue(pair, *found);
}

TEST(MoveSearchTest, TakesFlatGroundAlongWithWhatIsOnIt) {
  PaintedImages images(size);
  images.flat(0, 0, width, height);
  images.patches(160, 160, 160, 160);
  Pair pair(*images.image());
  pair.scroll({160, 160, 320, 160}, {0, -16});
  pair.mark({560, 400, 160, 160});
  const auto found = findMove(pair.before, pair.now, limits);
  ASSERT_TRUE(found);
  EXPECT_TRUE(found->moved.isMoved(12, 15)) << "a patch";
  EXPECT_TRUE(found->moved.isMoved(12, 25)) << "ground beside it";
  EXPECT_FALSE(found->moved.isMoved(30, 40)) << "ground elsewhere";
  expectTrue(pair, *found);

  Pair mostlyFlat(*images.image());
  mostlyFlat.scroll({256, 160, 320, 160}, {0, -16});
  EXPECT_FALSE(findMove(mostlyFlat.before, mostlyFlat.now, limits)) << "of four columns";
}

TEST(MoveSearchTest, FindsNothingWhereNothingHasMoved) {
  PaintedImages images(size);
  const PixelRect all{0, 0, width, height};
  Pair same(*images.image());
  same.mark(all);
  EXPECT_FALSE(findMove(same.before, same.now, limits));

  Pair film(*images.image());
  film.noise(all);
  EXPECT_FALSE(findMove(film.before, film.now, limits));

  Pair cleared(*images.image());
  std::fill_n(cleared.now.luma(), cleared.now.stride() * height, std::uint8_t{230});
  cleared.mark(all);
  EXPECT_FALSE(findMove(cleared.before, cleared.now, limits));

  Pair shown(cleared.now);
  Pair::copy(*images.image(), shown.now);
  shown.mark(all);
  EXPECT_FALSE(findMove(shown.before, shown.now, limits));

  Pair replaced(*images.image());
  images.text(0, 0, width, height);
  Pair::copy(*images.image(), replaced.now);
  replaced.mark(all);
  EXPECT_FALSE(findMove(replaced.before, replaced.now, limits));
}

TEST(MoveSearchTest, LooksNoFartherThanItMay) {
  const PaintedImages images(size);
  for (const Shift by : {Shift{0, 128}, {0, -128}, {128, 0}, {-128, 0}}) {
    Pair pair(*images.image());
    pair.scroll({100, 40, 600, 520}, by);
    EXPECT_TRUE(findMove(pair.before, pair.now, {128, 1000})) << text(by);
    EXPECT_FALSE(findMove(pair.before, pair.now, {127, 1000})) << text(by);
  }
}

TEST(MoveSearchTest, FindsNothingWhereTooMuchIsLeft) {
  const PaintedImages images(size);
  Pair pair(*images.image());
  pair.scroll({0, 0, width, 592}, {0, -160});
  const auto found = findMove(pair.before, pair.now, limits);
  ASSERT_TRUE(found);
  EXPECT_TRUE(findMove(pair.before, pair.now, {511, found->leftCount}));
  EXPECT_FALSE(findMove(pair.before, pair.now, {511, found->leftCount - 1}));
  EXPECT_FALSE(findMove(pair.before, pair.now, {511, 50}));
}

TEST(MoveSearchTest, CaresForNoSmallMove) {
  PaintedImages images(size);
  images.patches(0, 0, width, height);
  const Shift by{0, -16};
  Pair large(*images.image());
  large.scroll({160, 160, 8 * 16, 6 * 16}, by);
  const auto found = findMove(large.before, large.now, limits);
  ASSERT_TRUE(found);
  EXPECT_EQ(found->movedCount, 40U);

  Pair small(*images.image());
  small.scroll({160, 160, 8 * 16, 6 * 16}, by);
  small.noise({160, 160, 16, 16});
  EXPECT_FALSE(findMove(small.before, small.now, limits));
}

TEST(MoveSearchTest, IsRightAboutWhateverItFinds) {
  std::mt19937 random(4);
  const auto below = [&](int bound) {
    return static_cast<int>(random() % static_cast<unsigned>(bound));
  };
  PaintedImages images(size);
  int found = 0;
  constexpr int rounds = 40;
  for (int round = 0; round < rounds; ++round) {
    images.text(below(400), below(300), 300, 200);
    Pair pair(*images.image());
    const PixelRect rect{below(200), below(150), 300 + below(300), 250 + below(200)};
    const Shift by =
        round % 2 == 0 ? Shift{0, below(241) - 120} : Shift{below(81) - 40, below(81) - 40};
    pair.scroll(rect, by);
    for (int spot = below(6); spot > 0; --spot) pair.noise({below(780), below(580), 20, 20});
    const auto move = findMove(pair.before, pair.now, {511, 2000});
    if (!move) continue;
    ++found;
    ASSERT_NO_FATAL_FAILURE(expectTrue(pair, *move));
  }
  EXPECT_GE(found, rounds * 9 / 10);
}

}  // namespace
}  // namespace vesk::picture::composed::VESK_FILE
