#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "platform/linux/picture/ImagePainter.h"
#include "platform/linux/picture/composed/moveSearch.h"

namespace vesk::picture::composed::VESK_FILE {
namespace {

constexpr int width = 1280;
constexpr int height = 720;

constexpr std::size_t macroblocks = 80 * 45;

/// Per macroblock.
using Counts = std::vector<std::uint8_t>;

/// A screen full of something like text in colours, and its images.
class MovedScreenTest : public ::testing::Test {
 protected:
  MovedScreenTest() { before_ = painter_.paint(bytes(), stride, {{0, 0, width, height}}); }

  /// Moves what is in a rectangle within it, and paints what comes into sight.
  void scroll(const PixelRect& rect, const Shift& by) {
    const auto old = pixels_;
    const PixelRect come = intersection(rect, moved(rect, by.right, by.down));
    for (int y = rect.y; y < rect.bottom(); ++y) {
      for (int x = rect.x; x < rect.right(); ++x) {
        const bool isNew = x < come.x || x >= come.right() || y < come.y || y >= come.bottom();
        pixels_[at(x, y)] = isNew ? cell(x + 7777, y) : old[at(x - by.right, y - by.down)];
      }
    }
    now_ = painter_.paint(bytes(), stride, {rect});
  }

  /// What is found, when colours may not fade, or have faded so often everywhere.
  std::optional<FoundMove> found(const Counts* faded = nullptr) const {
    return findMove(*before_, *now_, {511, 2000, faded});
  }

  std::shared_ptr<const Nv12Image> before_;
  std::shared_ptr<const Nv12Image> now_;

 private:
  static constexpr int stride = width * 4;
  static constexpr std::size_t at(int x, int y) { return static_cast<std::size_t>(y * width + x); }

  const std::uint8_t* bytes() const {
    return reinterpret_cast<const std::uint8_t*>(pixels_.data());
  }

  /// A pixel of a glyph, in the colour of its word.
  static std::uint32_t cell(int x, int y) {
    const auto hash = [](int a, int b) {
      return (static_cast<unsigned>(a) * 2654435761U ^ static_cast<unsigned>(b) * 2246822519U) *
             3266489917U;
    };
    const unsigned glyph = hash(x / 9, y / 18) >> 8;
    if (glyph % 4 == 0 || y % 18 < 3 || y % 18 > 14) return 0xfffaf0e6;
    const bool isDark = (hash(static_cast<int>(glyph % 40) * 9 + x % 9, y % 18) >> 12) % 3 == 0;
    return isDark ? 0xff000000U | hash(x / 63, y / 18) >> 9 : 0xfffaf0e6;
  }

  static std::vector<std::uint32_t> page() {
    std::vector<std::uint32_t> pixels;
    for (int y = 0; y < height; ++y) {
      for (int x = 0; x < width; ++x) pixels.push_back(cell(x, y));
    }
    return pixels;
  }

  std::vector<std::uint32_t> pixels_ = page();
  ImagePainter painter_{{width, height}, {width, height}};
};

/// Some rows and columns are left at the edges, besides what has come into sight.
TEST_F(MovedScreenTest, IsTheSameWhereItWasScrolledDown) {
  scroll({160, 96, 960, 512}, {0, -54});
  const auto move = found();
  ASSERT_TRUE(move);
  EXPECT_EQ(move->moved.shift, (Shift{0, -54}));
  EXPECT_LE(move->leftCount, 4U * 60U);
  EXPECT_EQ(move->movedCount + move->leftCount, 32U * 60U);
}

TEST_F(MovedScreenTest, IsTheSameWhereItWasScrolledSidewaysOffTheGrid) {
  scroll({163, 99, 957, 513}, {-36, 0});
  const auto move = found();
  ASSERT_TRUE(move);
  EXPECT_EQ(move->moved.shift, (Shift{-36, 0}));
  EXPECT_LE(move->leftCount, 2U * 60U + 4U * 33U);
}

TEST_F(MovedScreenTest, IsTheSameWhereItWasDragged) {
  scroll({160, 96, 960, 512}, {22, -14});
  const auto move = found();
  ASSERT_TRUE(move);
  EXPECT_EQ(move->moved.shift, (Shift{22, -14}));
  EXPECT_LE(move->leftCount, 60U + 2U * 32U);
}

/// Its colours are others then.
TEST_F(MovedScreenTest, IsNotTheSameBetweenTheSamplesOfItsColours) {
  scroll({160, 96, 960, 512}, {0, -17});
  const auto move = found();
  EXPECT_TRUE(!move || move->leftCount > move->movedCount);
}

TEST_F(MovedScreenTest, FadesBetweenTheSamplesOfItsColoursWhereItMay) {
  for (const Shift by : {Shift{0, -17}, {-35, 0}, {21, -13}}) {
    scroll({160, 96, 960, 512}, by);
    const Counts never(macroblocks);
    const auto move = found(&never);
    ASSERT_TRUE(move);
    EXPECT_EQ(move->moved.shift, by);
    EXPECT_LE(move->leftCount, 4U * 60U);
    std::size_t faded = 0;
    for (std::size_t at = 0; at < macroblocks; ++at) {
      EXPECT_LE(move->faded[at], move->moved.marks[at]);
      faded += move->faded[at];
    }
    EXPECT_GT(faded, move->movedCount / 2);
    before_ = now_;
  }
}

TEST_F(MovedScreenTest, FadesNoMoreThanThreeTimes) {
  scroll({160, 96, 960, 512}, {0, -17});
  const Counts twice(macroblocks, 2);
  const auto move = found(&twice);
  ASSERT_TRUE(move);
  EXPECT_EQ(std::ranges::max(move->faded), 3);
  EXPECT_EQ(std::ranges::min(move->faded), 2);

  const Counts often(macroblocks, 3);
  const auto none = found(&often);
  EXPECT_TRUE(!none || none->leftCount > none->movedCount);
}

TEST_F(MovedScreenTest, TakesWhatHasFadedAlong) {
  scroll({160, 96, 960, 512}, {0, -32});
  Counts faded(macroblocks);
  faded[20 * 80 + 30] = 2;
  const auto move = found(&faded);
  ASSERT_TRUE(move);
  EXPECT_EQ(move->faded[18 * 80 + 30], 2);
  EXPECT_EQ(move->faded[20 * 80 + 30], 0);
  EXPECT_EQ(std::ranges::count(move->faded, 0), static_cast<std::ptrdiff_t>(macroblocks) - 1);
}

}  // namespace
}  // namespace vesk::picture::composed::VESK_FILE
