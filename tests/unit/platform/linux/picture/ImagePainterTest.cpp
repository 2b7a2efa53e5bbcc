#include "platform/linux/picture/ImagePainter.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <random>

namespace vesk::picture::VESK_FILE {
namespace {

/// Pixels as a server gives them: blue, green, red, nothing.
class Screen {
 public:
  Screen(int width, int height)
      : width_(width), pixels_(static_cast<std::size_t>(width * height) * 4) {}

  void fill(const PixelRect& rect, std::uint32_t colour) {
    for (int y = rect.y; y < rect.bottom(); ++y) {
      for (int x = rect.x; x < rect.right(); ++x) set(x, y, colour);
    }
  }
  void set(int x, int y, std::uint32_t colour) {
    std::memcpy(pixels_.data() + static_cast<std::size_t>(y * width_ + x) * 4, &colour, 4);
  }
  std::uint32_t at(int x, int y) const {
    std::uint32_t colour = 0;
    std::memcpy(&colour, pixels_.data() + static_cast<std::size_t>(y * width_ + x) * 4, 4);
    return colour;
  }
  const std::uint8_t* data() const { return pixels_.data(); }
  int stride() const { return width_ * 4; }

 private:
  int width_;
  std::vector<std::uint8_t> pixels_;
};

double lumaOf(std::uint32_t colour) {
  return 16 +
         (65.481 * (colour >> 16 & 255) + 128.553 * (colour >> 8 & 255) + 24.966 * (colour & 255)) /
             255;
}

int lumaAt(const Nv12Image& image, int x, int y) { return image.luma()[y * image.stride() + x]; }

std::size_t changedAfter(const Nv12Image& image, Nv12Image::Sequence sequence) {
  std::size_t count = 0;
  for (const auto each : image.changedAt) count += each > sequence ? 1 : 0;
  return count;
}

TEST(ImagePainterTest, ConvertsEveryColourToTheNearestLevelButOne) {
  Screen screen(64, 48);
  std::mt19937 random(1);
  for (int y = 0; y < 48; ++y) {
    for (int x = 0; x < 64; ++x) screen.set(x, y, static_cast<std::uint32_t>(random()) & 0xffffff);
  }
  ImagePainter painter({64, 48}, {64, 48});
  const auto image = painter.paint(screen.data(), screen.stride(), {{0, 0, 64, 48}});
  for (int y = 0; y < 48; ++y) {
    for (int x = 0; x < 64; ++x) {
      ASSERT_NEAR(lumaAt(*image, x, y), lumaOf(screen.at(x, y)), 1) << x << " " << y;
    }
  }
}

TEST(ImagePainterTest, MarksWhatHasChangedAndNothingElse) {
  Screen screen(160, 96);
  ImagePainter painter({160, 96}, {160, 96});
  const auto first = painter.paint(screen.data(), screen.stride(), {{0, 0, 160, 96}});
  EXPECT_EQ(first->sequence, 1U);
  EXPECT_EQ(changedAfter(*first, 0), 60U);
  screen.fill({40, 40, 10, 4}, 0xffffff);
  const auto second = painter.paint(screen.data(), screen.stride(), {{40, 40, 10, 4}});
  EXPECT_EQ(changedAfter(*second, 1), 2U) << "the rectangle lies in two macroblocks";
  EXPECT_EQ(second->changedAt[2 * 10 + 2], 2U);
  EXPECT_EQ(second->changedAt[2 * 10 + 3], 2U);
  EXPECT_EQ(lumaAt(*second, 45, 42), 235);
  EXPECT_EQ(lumaAt(*first, 45, 42), 16) << "an image that was delivered does not change";
  const auto third = painter.paint(screen.data(), screen.stride(), {{40, 40, 8, 8}});
  EXPECT_EQ(changedAfter(*third, 2), 1U);
  const auto fourth =
      painter.paint(screen.data(), screen.stride(), {{}, {-20, 0, 20, 9}, {9, 96, 9, 9}});
  EXPECT_EQ(changedAfter(*fourth, 3), 0U) << "there was nothing of it on the screen";
}

TEST(ImagePainterTest, MarksNothingElseWhereItScalesOrCrops) {
  struct Example {
    PixelSize source;
    PixelSize target;
    PixelRect changed;
    std::size_t macroblock;
  };
  for (const auto& [source, target, changed, macroblock] :
       {Example{{320, 192}, {160, 96}, {64, 64, 32, 32}, 2 * 10 + 2},
        {{400, 240}, {160, 96}, {80, 80, 40, 40}, 2 * 10 + 2},
        {{100, 60}, {200, 120}, {8, 8, 8, 8}, 13 + 1},
        {{161, 97}, {160, 96}, {32, 32, 16, 16}, 2 * 10 + 2}}) {
    const auto width = static_cast<int>(source.width);
    const auto height = static_cast<int>(source.height);
    const Screen screen(width, height);
    ImagePainter painter(source, target);
    painter.paint(screen.data(), screen.stride(), {{0, 0, width, height}});
    const auto image = painter.paint(screen.data(), screen.stride(), {changed});
    EXPECT_EQ(changedAfter(*image, 1), 1U) << source.width;
    EXPECT_EQ(image->changedAt[macroblock], 2U) << source.width;
  }
}

/// What nobody has told of is not even looked at.
TEST(ImagePainterTest, ConvertsWhatHasChangedAlone) {
  Screen screen(160, 16);
  ImagePainter painter({160, 16}, {160, 16});
  painter.paint(screen.data(), screen.stride(), {{0, 0, 160, 16}});
  screen.fill({0, 0, 160, 16}, 0xffffff);
  const auto image = painter.paint(screen.data(), screen.stride(), {{32, 0, 16, 16}});
  for (int x = 0; x < 160; ++x) {
    EXPECT_EQ(lumaAt(*image, x, 8), x >= 32 && x < 48 ? 235 : 16) << x;
  }
}

TEST(ImagePainterTest, PaintsOnTheNewestImageThatNobodyHolds) {
  const Screen screen(32, 32);
  ImagePainter painter({32, 32}, {32, 32});
  const auto paint = [&] {
    return painter.paint(screen.data(), screen.stride(), {{0, 0, 32, 32}});
  };
  auto first = paint();
  auto second = paint();
  std::weak_ptr<const Nv12Image> newest = second;
  first = nullptr;
  second = nullptr;
  second = paint();
  EXPECT_EQ(second, newest.lock());
  first = paint();
  EXPECT_NE(first, second);
  newest = first;
  first = nullptr;
  second = nullptr;
  first = paint();
  EXPECT_EQ(first, newest.lock());
}

TEST(ImagePainterTest, BringsAnOldImageUpToDateWhereverItDiffers) {
  Screen screen(64, 64);
  ImagePainter painter({64, 64}, {64, 64});
  auto held = painter.paint(screen.data(), screen.stride(), {{0, 0, 64, 64}});
  std::mt19937 random(2);
  for (int i = 0; i < 200; ++i) {
    const PixelRect rect{static_cast<int>(random() % 60), static_cast<int>(random() % 60), 4, 4};
    screen.fill(rect, static_cast<std::uint32_t>(random()) & 0xffffff);
    const auto image = painter.paint(screen.data(), screen.stride(), {rect});
    for (int y = 0; y < 64; ++y) {
      for (int x = 0; x < 64; ++x) {
        ASSERT_NEAR(lumaAt(*image, x, y), lumaOf(screen.at(x, y)), 1) << "image " << i;
      }
    }
    if (random() % 3 == 0) held = image;
  }
}

TEST(ImagePainterTest, NeverPaintsOnAnImageThatSomebodyHolds) {
  Screen screen(32, 32);
  ImagePainter painter({32, 32}, {32, 32});
  std::vector<std::shared_ptr<const Nv12Image>> held;
  for (std::uint32_t i = 0; i < 12; ++i) {
    screen.fill({0, 0, 32, 32}, i * 0x101010);
    held.push_back(painter.paint(screen.data(), screen.stride(), {{0, 0, 32, 32}}));
  }
  for (std::uint32_t i = 0; i < 12; ++i) {
    EXPECT_NEAR(lumaAt(*held[i], 5, 5), lumaOf(i * 0x101010), 1) << i;
  }
}

TEST(ImagePainterTest, ScalesPartsAsItScalesTheWhole) {
  constexpr PixelSize target{160, 96};
  Screen screen(320, 192);
  ImagePainter painter({320, 192}, target);
  painter.paint(screen.data(), screen.stride(), {{0, 0, 320, 192}});
  std::mt19937 random(3);
  for (int i = 0; i < 50; ++i) {
    const PixelRect rect{static_cast<int>(random() % 300), static_cast<int>(random() % 172), 17,
                         13};
    screen.fill(rect, static_cast<std::uint32_t>(random()) & 0xffffff);
    const auto image = painter.paint(screen.data(), screen.stride(), {rect});
    ImagePainter anew({320, 192}, target);
    const auto whole = anew.paint(screen.data(), screen.stride(), {{0, 0, 320, 192}});
    for (int y = 0; y < target.height; ++y) {
      ASSERT_EQ(std::memcmp(image->luma() + y * image->stride(),
                            whole->luma() + y * whole->stride(), 160),
                0)
          << "row " << y << " of image " << i;
    }
  }
}

TEST(ImagePainterTest, LeavesOutTheLastRowAndColumnOfAnOddScreen) {
  Screen screen(33, 35);
  screen.fill({0, 0, 33, 35}, 0xffffff);
  ImagePainter painter({33, 35}, {32, 34});
  const auto image = painter.paint(screen.data(), screen.stride(), {{0, 0, 33, 35}});
  EXPECT_EQ(image->size(), (PixelSize{32, 34}));
  EXPECT_EQ(lumaAt(*image, 31, 33), 235);
  screen.fill({32, 34, 1, 1}, 0);
  const auto next = painter.paint(screen.data(), screen.stride(), {{32, 34, 1, 1}});
  EXPECT_EQ(lumaAt(*next, 31, 33), 235);
}

TEST(ImagePainterTest, BlursNothingWhereOneEdgeAloneIsOdd) {
  for (const PixelSize odd : {PixelSize{64, 35}, {65, 34}}) {
    const auto width = static_cast<int>(odd.width);
    const auto height = static_cast<int>(odd.height);
    Screen screen(width, height);
    for (int y = 0; y < height; ++y) {
      for (int x = y % 2; x < width; x += 2) screen.set(x, y, 0xffffff);
    }
    ImagePainter painter(odd, {64, 34});
    const auto image = painter.paint(screen.data(), screen.stride(), {{0, 0, width, height}});
    for (int y = 0; y < 34; ++y) {
      for (int x = 0; x < 64; ++x) {
        ASSERT_EQ(lumaAt(*image, x, y), x % 2 == y % 2 ? 235 : 16) << x << "," << y;
      }
    }
  }
}

TEST(ImagePainterTest, PutsEachColourWhereItBelongs) {
  Screen screen(64, 64);
  screen.fill({0, 0, 32, 32}, 0xff0000);
  screen.fill({32, 0, 32, 32}, 0x0000ff);
  screen.fill({0, 32, 64, 32}, 0x00ff00);
  ImagePainter painter({64, 64}, {64, 64});
  const auto image = painter.paint(screen.data(), screen.stride(), {{0, 0, 64, 64}});
  const auto chromaAt = [&](int x, int y, int which) -> int {
    return image->chroma()[y / 2 * image->stride() + x / 2 * 2 + which];
  };
  // Blue-difference, red-difference of BT.601, video range.
  for (const auto& [x, y, blue, red] : {std::array{10, 10, 90, 240},
                                        {50, 10, 240, 110},
                                        {10, 50, 54, 34},
                                        {62, 30, 240, 110},
                                        {2, 62, 54, 34}}) {
    EXPECT_NEAR(chromaAt(x, y, 0), blue, 2) << x << "," << y;
    EXPECT_NEAR(chromaAt(x, y, 1), red, 2) << x << "," << y;
  }
}

bool looksAlike(const Nv12Image& a, const Nv12Image& b) {
  const auto rowsEqual = [&](const std::uint8_t* left, const std::uint8_t* right, int rows,
                             std::int64_t bytes) {
    for (int row = 0; row < rows; ++row) {
      const auto at = static_cast<std::ptrdiff_t>(row) * a.stride();
      if (std::memcmp(left + at, right + at, static_cast<std::size_t>(bytes)) != 0) return false;
    }
    return true;
  };
  const auto [width, height] = a.size();
  return rowsEqual(a.luma(), b.luma(), static_cast<int>(height), width) &&
         rowsEqual(a.chroma(), b.chroma(), static_cast<int>((height + 1) / 2), (width + 1) / 2 * 2);
}

/// Sizes of every kind, also larger than the source, and areas that reach beyond it: what was
/// painted piece by piece looks like what is painted at once.
TEST(ImagePainterTest, PaintsAnySizeIntoAnyOther) {
  std::mt19937 random(4);
  const auto below = [&](int limit) {
    return static_cast<int>(random() % static_cast<unsigned>(limit));
  };
  for (int i = 0; i < 150; ++i) {
    const PixelSize source{2 + below(150), 2 + below(150)};
    PixelSize target{2 + below(150), 2 + below(150)};
    if (i % 5 == 0) target = {source.width & ~1, source.height & ~1};
    Screen screen(static_cast<int>(source.width), static_cast<int>(source.height));
    ImagePainter painter(source, target);
    painter.paint(screen.data(), screen.stride(), {{0, 0, 150, 150}});
    for (int change = 0; change < 8; ++change) {
      const int x = below(static_cast<int>(source.width));
      const int y = below(static_cast<int>(source.height));
      const PixelRect rect{x, y, 1 + below(static_cast<int>(source.width) - x),
                           1 + below(static_cast<int>(source.height) - y)};
      screen.fill(rect, static_cast<std::uint32_t>(random()) & 0xffffff);
      const auto image = painter.paint(screen.data(), screen.stride(), {rect});
      ImagePainter anew(source, target);
      const auto whole = anew.paint(screen.data(), screen.stride(), {{-5, -5, 200, 200}});
      ASSERT_TRUE(looksAlike(*image, *whole))
          << source.width << "x" << source.height << " to " << target.width << "x" << target.height;
    }
  }
}

TEST(ImagePainterTest, KeepsThinLinesWhenItScales) {
  constexpr PixelSize target{96, 54};
  for (const PixelSize source :
       {PixelSize{256, 144}, {192, 108}, {128, 72}, {150, 98}, {384, 216}}) {
    const auto width = static_cast<int>(source.width);
    const auto height = static_cast<int>(source.height);
    for (int line = 0; line < width; ++line) {
      Screen screen(width, height);
      screen.fill({line, 0, 1, height}, 0xffffff);
      ImagePainter painter(source, target);
      const auto image = painter.paint(screen.data(), screen.stride(), {{0, 0, width, height}});
      double brightness = 0;
      for (int x = 0; x < target.width; ++x) brightness += lumaAt(*image, x, 20) - 16;
      const double ideal = 219.0 * static_cast<double>(target.width) / width;
      ASSERT_NEAR(brightness, ideal, ideal / 5) << "line " << line << " of " << width;
    }
  }
}

TEST(ImagePainterTest, ReadsTenBitsFromRowsThatAreLongerThanThePicture) {
  Screen screen(100, 40);
  constexpr std::uint32_t white = 0x3fffffff;
  screen.fill({0, 0, 100, 40}, white);
  screen.fill({0, 20, 64, 20}, 0);
  ImagePainter painter({64, 40}, {64, 40}, PixelLayout::tenBits);
  const auto image = painter.paint(screen.data(), screen.stride(), {{0, 0, 64, 40}});
  for (int x = 0; x < 64; ++x) {
    EXPECT_EQ(lumaAt(*image, x, 19), 235) << x;
    EXPECT_EQ(lumaAt(*image, x, 20), 16) << x;
  }
  screen.fill({10, 25, 4, 4}, white);
  const auto next = painter.paint(screen.data(), screen.stride(), {{10, 25, 4, 4}});
  EXPECT_EQ(lumaAt(*next, 11, 26), 235);
  EXPECT_EQ(lumaAt(*next, 9, 26), 16);
}

TEST(ImagePainterTest, ConvertsColoursOfTenBits) {
  constexpr std::uint32_t colours[] = {0xff0000, 0x00ff00, 0x0000ff, 0x804020, 0x123456};
  Screen screen(80, 16);
  for (int i = 0; i < 5; ++i) {
    std::uint32_t wide = 0;
    for (const unsigned channel : {16U, 8U, 0U}) {
      const std::uint32_t eight = colours[i] >> channel & 255U;
      wide = wide << 10U | eight << 2U | eight >> 6U;
    }
    screen.fill({i * 16, 0, 16, 16}, wide);
  }
  ImagePainter painter({80, 16}, {80, 16}, PixelLayout::tenBits);
  const auto image = painter.paint(screen.data(), screen.stride(), {{0, 0, 80, 16}});
  for (int i = 0; i < 5; ++i) {
    EXPECT_NEAR(lumaAt(*image, i * 16 + 8, 8), lumaOf(colours[i]), 1) << i;
  }
}

}  // namespace
}  // namespace vesk::picture::VESK_FILE
