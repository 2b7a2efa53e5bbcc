#include "platform/linux/picture/composed/BlockComparison.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

namespace vesk::picture::composed::VESK_FILE {
namespace {

/// Neither edge is a whole number of macroblocks.
constexpr int width = 90;
constexpr int height = 72;
constexpr int lastRow = 4;
constexpr int lastColumn = 5;

/// Two images, of which the second one is the first one moved.
class BlockComparisonTest : public ::testing::Test {
 protected:
  BlockComparisonTest() {
    std::mt19937 random(1);
    std::generate_n(before_.luma(), before_.stride() * height * 3 / 2,
                    [&] { return static_cast<std::uint8_t>(random()); });
  }

  /// Every pixel whose origin is seen, its chroma as the mean of up to four samples.
  void move(const Shift& by) {
    const int stride = now_.stride();
    for (int y = 0; y < height; ++y) {
      for (int x = 0; x < width; ++x) {
        if (isSeen(x - by.right, width) && isSeen(y - by.down, height))
          now_.luma()[y * stride + x] = before_.luma()[(y - by.down) * stride + x - by.right];
      }
    }
    for (int y = 0; y < height; y += 2) {
      for (int x = 0; x < width; x += 2) {
        if (!isSeen(x - by.right, width - 1) || !isSeen(y - by.down, height - 1)) continue;
        for (int part = 0; part < 2; ++part) {
          now_.chroma()[y / 2 * stride + x + part] =
              static_cast<std::uint8_t>(mean(x - by.right, y - by.down, part));
        }
      }
    }
  }

  bool isSame(const Shift& by, int row, int column) const {
    return BlockComparison(before_, now_, by).isSame(row, column);
  }

  Nv12Image before_{{width, height}};
  Nv12Image now_{{width, height}};

 private:
  static bool isSeen(int at, int edge) { return at >= 0 && at < edge; }

  int mean(int x, int y, int part) const {
    int sum = 0;
    int count = 0;
    for (int i = x / 2; i <= (x + 1) / 2; ++i) {
      for (int j = y / 2; j <= (y + 1) / 2; ++j) {
        sum += before_.chroma()[j * before_.stride() + i * 2 + part];
        ++count;
      }
    }
    return (sum + count / 2) / count;
  }
};

TEST_F(BlockComparisonTest, KnowsWhatHasMoved) {
  for (const Shift by : {Shift{0, 0}, {0, 6}, {-4, 0}, {0, -7}, {5, 0}, {3, -3}, {-8, 9}}) {
    move(by);
    for (int row = 1; row <= 2; ++row) {
      for (int column = 1; column <= 3; ++column) {
        EXPECT_TRUE(isSame(by, row, column)) << by.right << ' ' << by.down;
        EXPECT_FALSE(isSame({by.right + 1, by.down}, row, column));
        EXPECT_FALSE(isSame({by.right, by.down - 2}, row, column));
      }
    }
  }
}

/// At every edge, of every part of a row, with a sample here and there that differs.
TEST_F(BlockComparisonTest, TellsTheSameOfWhatItHasReadAhead) {
  std::mt19937 random(2);
  for (const Shift by : {Shift{0, 0}, {0, 6}, {-4, 0}, {0, -7}, {5, 0}, {3, -3}, {-18, 20}}) {
    move(by);
    for (int i = 0; i < 12; ++i) {
      now_.luma()[random() % static_cast<unsigned>(now_.stride() * height * 3 / 2)] ^=
          i % 2 == 0 ? 1 : 0x40;
    }
    for (int row = 0; row <= lastRow; ++row) {
      for (int first = 0; first <= lastColumn; ++first) {
        BlockComparison ahead(before_, now_, by);
        ahead.readAhead(row, first, lastColumn + 1 - first / 3);
        for (int column = 0; column <= lastColumn; ++column) {
          EXPECT_EQ(ahead.likeness(row, column),
                    BlockComparison(before_, now_, by).likeness(row, column))
              << row << ", " << column << " from " << first;
        }
      }
    }
  }
}

TEST_F(BlockComparisonTest, SeesASingleSampleThatDiffers) {
  const Shift by{2, -4};
  move(by);
  const int stride = now_.stride();
  for (std::uint8_t* sample : {&now_.luma()[16 * stride + 16], &now_.luma()[31 * stride + 31],
                               &now_.chroma()[8 * stride + 16], &now_.chroma()[15 * stride + 31]}) {
    EXPECT_TRUE(isSame(by, 1, 1));
    *sample ^= 1;
    EXPECT_FALSE(isSame(by, 1, 1));
    *sample ^= 1;
  }
}

TEST_F(BlockComparisonTest, LetsColoursFadeALittleBetweenTheirSamples) {
  for (const Shift by : {Shift{0, 5}, {-3, 0}, {7, -3}}) {
    for (const int x : {16, 20, 31}) {
      for (const int y : {8, 9, 15}) {
        move(by);
        std::uint8_t& sample = now_.chroma()[y * now_.stride() + x];
        const int away = sample < 128 ? 1 : -1;
        const BlockComparison comparison(before_, now_, by);
        EXPECT_EQ(comparison.likeness(1, 1), Likeness::same);
        sample = static_cast<std::uint8_t>(sample + away * 48);
        EXPECT_EQ(comparison.likeness(1, 1), Likeness::faded);
        sample = static_cast<std::uint8_t>(sample + away);
        EXPECT_EQ(comparison.likeness(1, 1), Likeness::none);
      }
    }
  }
  move({0, 4});
  now_.chroma()[9 * now_.stride() + 20] ^= 1;
  EXPECT_EQ(BlockComparison(before_, now_, {0, 4}).likeness(1, 1), Likeness::none);
}

TEST_F(BlockComparisonTest, TakesNothingFromBeyondTheEdges) {
  for (const Shift by : {Shift{2, 2}, {-2, -2}, {1, 1}, {-1, -1}}) {
    move(by);
    EXPECT_EQ(isSame(by, 0, 1), by.down < 0);
    EXPECT_EQ(isSame(by, 1, 0), by.right < 0);
    EXPECT_EQ(isSame(by, lastRow, 1), by.down > 0);
    EXPECT_EQ(isSame(by, 1, lastColumn), by.right > 0);
  }
}

/// Nor where it would look the same.
TEST_F(BlockComparisonTest, TakesFlatGroundFromWithinTheEdgesAlone) {
  for (auto* image : {&before_, &now_}) {
    std::fill_n(image->luma(), image->stride() * height * 3 / 2, std::uint8_t{90});
  }
  for (const Shift by : {Shift{16, 0}, {-10, 0}, {0, 16}, {0, -8}, {17, 1}, {-11, -9}, {90, 72}}) {
    for (int row = 0; row <= lastRow; ++row) {
      for (int column = 0; column <= lastColumn; ++column) {
        const int left = column * macroblockEdge - by.right;
        const int top = row * macroblockEdge - by.down;
        const int right = std::min((column + 1) * macroblockEdge, width) - by.right;
        const int bottom = std::min((row + 1) * macroblockEdge, height) - by.down;
        const bool isInside = left >= 0 && top >= 0 && right <= width && bottom <= height;
        EXPECT_EQ(isSame(by, row, column), isInside) << row << ", " << column;
      }
    }
  }
}

TEST_F(BlockComparisonTest, LooksOnlyAtWhatIsSeenOfTheLastOnes) {
  move({});
  before_.luma()[20 * before_.stride() + width] ^= 1;
  before_.chroma()[10 * before_.stride() + width] ^= 1;
  EXPECT_TRUE(isSame({}, 1, lastColumn));
  EXPECT_TRUE(isSame({}, lastRow, lastColumn));
  now_.luma()[(height - 1) * now_.stride() + width - 1] ^= 1;
  EXPECT_FALSE(isSame({}, lastRow, lastColumn));
}

}  // namespace
}  // namespace vesk::picture::composed::VESK_FILE
