#include "platform/linux/picture/h264/level.h"

#include <algorithm>
#include <array>

namespace vesk::picture::h264 {
namespace {

/// Table A-1, with the bit rate for baseline.
struct Limits {
  int number;
  std::int64_t macroblocksPerSecond;
  std::int64_t macroblocks;
  std::int64_t kilobitsPerSecond;
  std::int64_t leastCompression;
  std::int64_t sliceRate;  ///< macroblocks of a second for each slice; nought: any number
};

constexpr std::array<Limits, 19> table{{
    {10, 1485, 99, 64, 2, 0},
    {11, 3000, 396, 192, 2, 0},
    {12, 6000, 396, 384, 2, 0},
    {13, 11880, 396, 768, 2, 0},
    {20, 11880, 396, 2000, 2, 0},
    {21, 19800, 792, 4000, 2, 0},
    {22, 20250, 1620, 4000, 2, 0},
    {30, 40500, 1620, 10000, 2, 22},
    {31, 108000, 3600, 14000, 4, 60},
    {32, 216000, 5120, 20000, 4, 60},
    {40, 245760, 8192, 20000, 4, 60},
    {41, 245760, 8192, 50000, 2, 24},
    {42, 522240, 8704, 50000, 2, 24},
    {50, 589824, 22080, 135000, 2, 24},
    {51, 983040, 36864, 240000, 2, 24},
    {52, 2073600, 36864, 240000, 2, 24},
    {60, 4177920, 139264, 240000, 2, 24},
    {61, 8355840, 139264, 480000, 2, 24},
    {62, 16711680, 139264, 800000, 2, 24},
}};

/// The bytes of a macroblock of 4:2:0 that is not compressed.
constexpr std::int64_t macroblockBytes = 384;

/// A stream may exceed its rate by this much for a while.
constexpr std::int64_t rateNumerator = 11;
constexpr std::int64_t rateDenominator = 10;

std::int64_t mostBitRate(const Limits& limits) {
  return limits.kilobitsPerSecond * 1000 * rateDenominator / rateNumerator;
}

bool fits(const Limits& limits, std::int64_t across, std::int64_t down, std::int64_t pace) {
  // Neither edge may be longer than the root of eight times the picture.
  const std::int64_t longest = std::max(across, down);
  return across * down <= limits.macroblocks && longest * longest <= 8 * limits.macroblocks &&
         across * down * pace <= limits.macroblocksPerSecond;
}

/// The first picture is measured by its size, or by a 172nd of a second if that is more; the others
/// by the time that each has.
std::size_t mostPictureBytes(const Limits& limits, std::int64_t macroblocks, std::int64_t pace) {
  const std::int64_t first = std::max(macroblocks, limits.macroblocksPerSecond / 172);
  const std::int64_t later = limits.macroblocksPerSecond / std::max<std::int64_t>(pace, 1);
  return static_cast<std::size_t>(macroblockBytes * std::min(first, later) /
                                  limits.leastCompression);
}

/// Asked of the profile that such a stream also keeps to.
std::size_t mostSlices(const Limits& limits, std::int64_t macroblocks, std::int64_t pace) {
  const std::int64_t each =
      std::max<std::int64_t>(limits.sliceRate * std::max<std::int64_t>(pace, 1), 1);
  return static_cast<std::size_t>(limits.sliceRate > 0 ? limits.macroblocksPerSecond / each
                                                       : macroblocks);
}

/// A stream's largest pictures take what the link takes in this long, unless they are hardly
/// compressed then.
std::size_t largestPicture(std::int64_t macroblocks, std::int64_t bitRate) {
  constexpr std::int64_t mostBytes = 750'000;  // so much the common levels hold
  const std::int64_t ofTheRate = bitRate / 8 * 6 / 10;
  return static_cast<std::size_t>(
      std::min({ofTheRate, macroblocks * macroblockBytes / 2, mostBytes}));
}

}  // namespace

Level levelFor(std::int32_t width, std::int32_t height, std::int64_t picturesPerSecond,
               std::int64_t bitRate) {
  const std::int64_t across = (width + 15) / 16;
  const std::int64_t down = (height + 15) / 16;
  const std::size_t largest = largestPicture(across * down, bitRate);
  const auto found = std::find_if(table.begin(), table.end() - 1, [&](const Limits& limits) {
    return fits(limits, across, down, picturesPerSecond) && bitRate <= mostBitRate(limits) &&
           mostPictureBytes(limits, across * down, picturesPerSecond) >= largest;
  });
  return {found->number, mostPictureBytes(*found, across * down, picturesPerSecond),
          mostBitRate(*found), mostSlices(*found, across * down, picturesPerSecond)};
}

}  // namespace vesk::picture::h264
