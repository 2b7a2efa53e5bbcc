#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <random>

#include "capture/annexB.h"
#include "platform/linux/picture/ImagePainter.h"
#include "platform/linux/picture/X264Encoder.h"
#include "support/H264Decoder.h"

/// Where the colours are and what they are, from the screen's pixels to a viewer's.

namespace vesk::picture::VESK_FILE {
namespace {

/// Pixels as a server gives them.
class Screen {
 public:
  explicit Screen(PixelSize size)
      : size_(size), pixels_(static_cast<std::size_t>(size.width * size.height)) {}

  std::uint32_t& at(std::int64_t x, std::int64_t y) {
    return pixels_[static_cast<std::size_t>(y * size_.width + x)];
  }

  std::shared_ptr<const Nv12Image> paintedBy(ImagePainter& painter) const {
    return painter.paint(reinterpret_cast<const std::uint8_t*>(pixels_.data()),
                         static_cast<int>(size_.width * 4),
                         {{0, 0, static_cast<int>(size_.width), static_cast<int>(size_.height)}});
  }

 private:
  PixelSize size_;
  std::vector<std::uint32_t> pixels_;
};

struct Chroma {
  double blue = 0;
  double red = 0;
};

/// Of BT.601 in video range.
Chroma chromaOf(double red, double green, double blue) {
  return {128 + (-37.797 * red - 74.203 * green + 112.0 * blue) / 255,
          128 + (112.0 * red - 93.786 * green - 18.214 * blue) / 255};
}

/// How much of the pixel that begins at `pixel` lies in [begin, end).
double overlap(std::int64_t pixel, double begin, double end) {
  const auto at = static_cast<double>(pixel);
  return std::max(0.0, std::min(at + 1, end) - std::max(at, begin));
}

/// The average over an area of the screen.
Chroma chromaOfArea(Screen& screen, double left, double top, double right, double bottom) {
  double sums[3] = {};
  double all = 0;
  for (auto y = static_cast<std::int64_t>(top); static_cast<double>(y) < bottom; ++y) {
    for (auto x = static_cast<std::int64_t>(left); static_cast<double>(x) < right; ++x) {
      const double part = overlap(x, left, right) * overlap(y, top, bottom);
      if (part <= 0) continue;
      for (unsigned i = 0; i < 3; ++i) sums[i] += part * (screen.at(x, y) >> 8 * i & 255U);
      all += part;
    }
  }
  return chromaOf(sums[2] / all, sums[1] / all, sums[0] / all);
}

/// On every way from pixels of the screen to pixels of the picture.
TEST(ChromaTest, IsTheAverageOfTheFourPixelsInWhoseMiddleItLies) {
  constexpr PixelSize sizes[][2] = {
      {{64, 48}, {64, 48}},  {{65, 49}, {64, 48}},   {{128, 96}, {64, 48}}, {{256, 192}, {64, 48}},
      {{150, 98}, {96, 54}}, {{320, 192}, {64, 48}}, {{64, 48}, {96, 72}}};
  std::mt19937 random(11);
  for (const auto& [source, target] : sizes) {
    const bool isCropped = source.width == target.width + 1;
    Screen screen(source);
    // Blocks, so that an average is not as grey as any other, at odd places too.
    for (int y = 0; y < source.height; y += 3) {
      for (int x = 0; x < source.width; x += 5) {
        const auto colour = static_cast<std::uint32_t>(random());
        for (int i = 0; i < 15; ++i) {
          if (x + i % 5 < source.width && y + i / 5 < source.height) {
            screen.at(x + i % 5, y + i / 5) = colour;
          }
        }
      }
    }
    ImagePainter painter(source, target);
    const auto image = screen.paintedBy(painter);
    const double across =
        isCropped ? 1 : static_cast<double>(source.width) / static_cast<double>(target.width);
    const double down =
        isCropped ? 1 : static_cast<double>(source.height) / static_cast<double>(target.height);
    for (int y = 0; y < target.height; y += 2) {
      for (int x = 0; x < target.width; x += 2) {
        const auto ideal =
            chromaOfArea(screen, x * across, y * down, (x + 2) * across, (y + 2) * down);
        const auto* const chroma = image->chroma() + y / 2 * image->stride() + x;
        ASSERT_NEAR(chroma[0], ideal.blue, 3)
            << source.width << " to " << target.width << " at " << x << "," << y;
        ASSERT_NEAR(chroma[1], ideal.red, 3)
            << source.width << " to " << target.width << " at " << x << "," << y;
      }
    }
  }
}

/// How many pixels of a line are red, from its beginning on, and not blue, however the edge between
/// them was blurred.
double redPartOf(const std::vector<std::uint8_t>& redDifference, std::size_t first,
                 std::size_t step, std::size_t count) {
  const double red = redDifference[first];
  const double blue = redDifference[first + (count - 1) * step];
  EXPECT_NEAR(red, 240, 2);
  EXPECT_NEAR(blue, 110, 2);
  double sum = 0;
  for (std::size_t i = 0; i < count; ++i) {
    sum += (redDifference[first + i * step] - blue) / (red - blue);
  }
  return sum;
}

TEST(ChromaTest, HasItsEdgesAtAViewersWhereTheScreenHasThem) {
  constexpr PixelSize size{64, 64};
  constexpr std::uint32_t red = 0xff0000;
  constexpr std::uint32_t blue = 0x0000ff;
  for (const int edge : {24, 25, 26, 27}) {
    Screen screen(size);
    const int below = edge + 5;
    for (int y = 0; y < size.height; ++y) {
      for (int x = 0; x < size.width; ++x) screen.at(x, y) = x < edge && y < below ? red : blue;
    }
    ImagePainter painter(size, size);
    X264Encoder encoder({size.width, size.height, 30});
    ASSERT_TRUE(encoder);
    EncodedSample sample;
    sample.data = encoder.encode(*screen.paintedBy(painter), {true, 11, nullptr});
    sample.parameterSets = encoder.parameterSets();
    const auto seen =
        testing::redDifferenceByFfmpeg(annexB(sample).value_or(Bytes{}), size.width, size.height);
    EXPECT_NEAR(redPartOf(seen, 8 * size.width, 1, size.width), edge, 0.15);
    EXPECT_NEAR(redPartOf(seen, 8, size.width, size.height), below, 0.15);
  }
}

}  // namespace
}  // namespace vesk::picture::VESK_FILE
