#include "platform/linux/picture/AreaScaler.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <random>
#include <utility>

namespace vesk::picture::VESK_FILE {
namespace {

/// Pixels of four bytes, with a stride that is longer than a row.
struct Pixels {
  Pixels(int width, int height)
      : size{width, height},
        stride(width * 4 + 12),
        bytes(static_cast<std::size_t>(stride) * static_cast<std::size_t>(height)) {}

  std::uint8_t& at(int x, int y, int channel) {
    return bytes[static_cast<std::size_t>(y * stride + x * 4 + channel)];
  }

  PixelSize size;
  int stride;
  std::vector<std::uint8_t> bytes;
};

Pixels noise(int width, int height, unsigned seed) {
  Pixels pixels(width, height);
  std::mt19937 random(seed);
  std::ranges::generate(pixels.bytes, [&] { return static_cast<std::uint8_t>(random()); });
  return pixels;
}

Pixels scaled(Pixels& source, int width, int height) {
  Pixels target(width, height);
  AreaScaler scaler(source.size, target.size);
  scaler.scale(source.bytes.data(), source.stride, {0, 0, width, height}, target.bytes.data(),
               target.stride);
  return target;
}

/// The average over [begin, end) of numbers that each reach from one whole number to the next.
double averageOf(double begin, double end, const std::function<double(int)>& at) {
  double sum = 0;
  for (int i = static_cast<int>(begin); i < end; ++i) {
    sum += at(i) * (std::min<double>(i + 1, end) - std::max<double>(i, begin));
  }
  return sum / (end - begin);
}

double idealAt(Pixels& source, PixelSize target, int x, int y, int channel) {
  const double across = static_cast<double>(source.size.width) / static_cast<double>(target.width);
  const double down = static_cast<double>(source.size.height) / static_cast<double>(target.height);
  return averageOf(y * down, (y + 1) * down - 1e-9, [&](int row) {
    return averageOf(x * across, (x + 1) * across - 1e-9,
                     [&](int column) -> double { return source.at(column, row, channel); });
  });
}

TEST(AreaScalerTest, AveragesTheAreaThatEachPixelCovers) {
  constexpr int sizes[][4] = {{51, 29, 19, 11}, {40, 40, 30, 20}, {64, 36, 32, 18},
                              {33, 35, 32, 34}, {7, 5, 20, 16},   {200, 3, 10, 9},
                              {2, 2, 2, 2},     {90, 90, 2, 3}};
  for (const auto& [width, height, toWidth, toHeight] : sizes) {
    auto source = noise(width, height, 1);
    auto target = scaled(source, toWidth, toHeight);
    for (int y = 0; y < toHeight; ++y) {
      for (int x = 0; x < toWidth; ++x) {
        for (int channel = 0; channel < 3; ++channel) {
          ASSERT_NEAR(target.at(x, y, channel), idealAt(source, target.size, x, y, channel), 2.5)
              << width << "x" << height << " to " << toWidth << "x" << toHeight << " at " << x
              << "," << y;
        }
      }
    }
  }
}

TEST(AreaScalerTest, MakesAPictureNeitherDarkerNorBrighter) {
  auto source = noise(200, 150, 4);
  auto target = scaled(source, 90, 70);
  double sum = 0;
  for (int i = 0; i < 90 * 70; ++i) {
    sum += target.at(i % 90, i / 90, 0) - idealAt(source, target.size, i % 90, i / 90, 0);
  }
  EXPECT_NEAR(sum / (90 * 70), 0, 0.1);
}

TEST(AreaScalerTest, WritesNothingForAnEmptyArea) {
  auto source = noise(20, 20, 5);
  Pixels target(10, 10);
  AreaScaler scaler(source.size, target.size);
  for (const PixelRect& area : {PixelRect{0, 0, 0, 10}, PixelRect{0, 0, 10, 0}, PixelRect{}}) {
    scaler.scale(source.bytes.data(), source.stride, area, target.bytes.data(), target.stride);
  }
  EXPECT_EQ(target.bytes, Pixels(10, 10).bytes);
}

TEST(AreaScalerTest, LeavesPlainColoursAsTheyAre) {
  for (const int colour : {0, 1, 127, 254, 255}) {
    Pixels source(77, 53);
    std::ranges::fill(source.bytes, static_cast<std::uint8_t>(colour));
    auto target = scaled(source, 30, 22);
    for (int i = 0; i < 30 * 22; ++i) ASSERT_EQ(target.at(i % 30, i / 30, i % 4), colour);
  }
}

TEST(AreaScalerTest, ScalesPartsAsItScalesTheWhole) {
  auto source = noise(133, 71, 2);
  auto whole = scaled(source, 50, 40);
  AreaScaler scaler(source.size, {50, 40});
  std::mt19937 random(3);
  for (int i = 0; i < 200; ++i) {
    const int x = static_cast<int>(random() % 50);
    const int y = static_cast<int>(random() % 40);
    const PixelRect area{x, y, 1 + static_cast<int>(random() % static_cast<unsigned>(50 - x)),
                         1 + static_cast<int>(random() % static_cast<unsigned>(40 - y))};
    Pixels part(area.width, area.height);
    scaler.scale(source.bytes.data(), source.stride, area, part.bytes.data(), part.stride);
    for (int row = 0; row < area.height; ++row) {
      for (int byte = 0; byte < area.width * 4; ++byte) {
        ASSERT_EQ(part.at(0, row, byte), whole.at(area.x, area.y + row, byte)) << i;
      }
    }
  }
}

/// Shares of bright lines on black that are left, of what an ideal average would leave: the least
/// and the most of every line across a picture that is so long and two pixels high, or the other
/// way.
std::pair<double, double> sharesLeft(PixelSize size, PixelSize toSize) {
  Pixels source(static_cast<int>(size.width), static_cast<int>(size.height));
  Pixels target(static_cast<int>(toSize.width), static_cast<int>(toSize.height));
  AreaScaler scaler(size, toSize);
  const bool upright = size.width > size.height;
  const auto length = static_cast<int>(std::max(size.width, size.height));
  const auto toLength = static_cast<int>(std::max(toSize.width, toSize.height));
  std::pair<double, double> shares{1, 1};
  for (int line = 0; line < length; ++line) {
    const auto draw = [&](std::uint8_t colour) {
      for (int i = 0; i < 2; ++i) source.at(upright ? line : i, upright ? i : line, 0) = colour;
    };
    draw(255);
    // No line reaches further than into the pixel next to its own.
    const int first = std::max(line * toLength / length - 1, 0);
    const int count = std::min(first + 3, toLength) - first;
    scaler.scale(source.bytes.data(), source.stride,
                 upright ? PixelRect{first, 0, count, 2} : PixelRect{0, first, 2, count},
                 target.bytes.data(), target.stride);
    draw(0);
    double sum = 0;
    for (int i = 0; i < count; ++i) sum += target.at(upright ? i : 0, upright ? 0 : i, 0);
    const double share = sum / (255.0 * toLength / length);
    shares = {std::min(shares.first, share), std::max(shares.second, share)};
  }
  return shares;
}

TEST(AreaScalerTest, KeepsEveryLineOfOnePixel) {
  for (const auto& [length, toLength] : {std::pair{5120, 1920},
                                         {2880, 1080},
                                         {2560, 1920},
                                         {3024, 1920},
                                         {7680, 1920},
                                         {6016, 1920},
                                         {1964, 1246}}) {
    for (const auto& [least, most] :
         {sharesLeft({length, 2}, {toLength, 2}), sharesLeft({2, length}, {2, toLength})}) {
      EXPECT_GE(least, 0.8) << length;
      EXPECT_LE(most, 1.2) << length;
    }
  }
}

}  // namespace
}  // namespace vesk::picture::VESK_FILE
