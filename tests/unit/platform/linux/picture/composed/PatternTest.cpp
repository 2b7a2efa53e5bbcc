#include "platform/linux/picture/composed/Pattern.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <tuple>

namespace vesk::picture::composed::VESK_FILE {
namespace {

constexpr int width = 256;
constexpr int height = 192;

/// Two flat images, with things in them.
class PatternTest : public ::testing::Test {
 protected:
  PatternTest() {
    fill(before_);
    fill(now_);
  }

  static void fill(Nv12Image& image) {
    std::fill_n(image.luma(), image.stride() * height, std::uint8_t{230});
  }

  /// Strokes that lean, so that no two rows are the same.
  static void strokes(Nv12Image& image, int left, int top) {
    for (int y = 0; y < 16; ++y) {
      for (int x = 0; x < 32; ++x) {
        const bool dark = (x * x + y * 3) % 11 < 3;
        image.luma()[(top + y) * image.stride() + left + x] = dark ? 40 : 230;
      }
    }
  }

  std::vector<Shift> shifts(int row, int column, int farthest) const {
    const auto pattern = Pattern::in(before_, now_, row, column);
    return pattern ? pattern->shifts(farthest) : std::vector<Shift>{};
  }

  Nv12Image before_{{width, height}};
  Nv12Image now_{{width, height}};
};

TEST_F(PatternTest, IsFoundWhereItWas) {
  strokes(before_, 53, 70);
  strokes(now_, 64, 48);
  EXPECT_EQ(shifts(3, 4, 511), (std::vector<Shift>{{11, -22}}));
}

TEST_F(PatternTest, IsFoundWhateverIsBesideIt) {
  for (const auto& [image, left, top, beside] :
       {std::tuple{&before_, 53, 70, 20}, std::tuple{&now_, 64, 48, 90}}) {
    strokes(*image, left, top);
    for (int y = top; y < top + 16; ++y) {
      std::uint8_t* row = image->luma() + y * image->stride() + left;
      row[-1] = row[32] = static_cast<std::uint8_t>(beside);
      row[0] = row[31] = 40;
      row[1] = row[30] = 230;
    }
  }
  EXPECT_EQ(shifts(3, 4, 511), (std::vector<Shift>{{11, -22}}));
}

TEST_F(PatternTest, IsFoundAtTheEdges) {
  strokes(before_, width - 32, height - 16);
  strokes(now_, width - 32, 160);
  EXPECT_EQ(shifts(10, width / 16 - 1, 511), (std::vector<Shift>{{0, -16}}));
  EXPECT_EQ(shifts(10, width / 16 - 2, 511), (std::vector<Shift>{{0, -16}}));
  strokes(before_, 0, 0);
  strokes(now_, 0, 32);
  EXPECT_EQ(shifts(2, 0, 511), (std::vector<Shift>{{0, 32}}));
}

TEST_F(PatternTest, IsLookedForFartherStraightThanAslant) {
  strokes(before_, 112, 0);
  strokes(now_, 112, 160);
  EXPECT_EQ(shifts(10, 7, 160), (std::vector<Shift>{{0, 160}}));
  EXPECT_TRUE(shifts(10, 7, 159).empty());

  fill(before_);
  strokes(before_, 112 - 97, 159);
  EXPECT_TRUE(shifts(10, 7, 160).empty());
  strokes(before_, 112 + 96, 159);
  EXPECT_EQ(shifts(10, 7, 160), (std::vector<Shift>{{-96, 1}}));

  fill(before_);
  strokes(before_, 0, 160);
  EXPECT_EQ(shifts(10, 7, 160), (std::vector<Shift>{{112, 0}}));
}

TEST_F(PatternTest, SaysNothingWhereItWasInManyPlaces) {
  strokes(now_, 112, 64);
  for (int row = 0; row < 6; ++row) strokes(before_, 40 + row, row * 32);
  EXPECT_EQ(shifts(4, 7, 511).size(), 6U);
  strokes(before_, 200, 64);
  EXPECT_TRUE(shifts(4, 7, 511).empty());
}

TEST_F(PatternTest, IsNoFlatGroundNorWhatWasThereBefore) {
  EXPECT_FALSE(Pattern::in(before_, now_, 4, 7));
  strokes(now_, 112, 64);
  EXPECT_TRUE(Pattern::in(before_, now_, 4, 7));
  strokes(before_, 112, 64);
  EXPECT_FALSE(Pattern::in(before_, now_, 4, 7));
}

TEST_F(PatternTest, LiesWithinItsMacroblock) {
  strokes(now_, 112, 80);
  EXPECT_FALSE(Pattern::in(before_, now_, 4, 7));
  EXPECT_TRUE(Pattern::in(before_, now_, 5, 7));
  EXPECT_FALSE(Pattern::in(before_, now_, 6, 7));
}

/// The edge of a window, say, is like that of any other.
TEST_F(PatternTest, IsNoSingleLine) {
  const auto line = [&](int left) {
    for (int y = 0; y < height; ++y) now_.luma()[y * now_.stride() + left + y % 4] = 40;
  };
  line(120);
  EXPECT_FALSE(Pattern::in(before_, now_, 4, 7));
  line(130);
  EXPECT_TRUE(Pattern::in(before_, now_, 4, 7));
}

TEST_F(PatternTest, IsNoRulerWhoseRowsAreAllTheSame) {
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; x += 8) now_.luma()[y * now_.stride() + x] = 40;
  }
  EXPECT_FALSE(Pattern::in(before_, now_, 4, 7));
  for (int y = 64; y < 80; ++y) {
    std::uint8_t& pixel = now_.luma()[y * now_.stride() + 115];
    pixel = 40;
    EXPECT_TRUE(Pattern::in(before_, now_, 4, 7)) << y;
    pixel = 230;
  }
}

TEST_F(PatternTest, IsWhereTheMostEdgesAre) {
  const auto lines = [](Nv12Image& image, int left, int top) {
    for (int y = 0; y < 8; ++y) {
      image.luma()[(top + y) * image.stride() + left + y % 4] = 40;
      image.luma()[(top + y) * image.stride() + left + 12 + y % 4] = 40;
    }
  };
  lines(now_, 116, 64);
  strokes(now_, 112, 72);
  lines(before_, 130, 20);
  strokes(before_, 100, 100);
  EXPECT_EQ(shifts(4, 7, 511), (std::vector<Shift>{{12, -28}}));
}

TEST_F(PatternTest, NeedsAsMuchRoomAsItTakes) {
  const Nv12Image before({16, 16});
  Nv12Image now({16, 16});
  for (int i = 0; i < 16; ++i) now.luma()[i * now.stride() + i] = 230;
  EXPECT_FALSE(Pattern::in(before, now, 0, 0));
}

}  // namespace
}  // namespace vesk::picture::composed::VESK_FILE
