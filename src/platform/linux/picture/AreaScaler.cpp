#include "platform/linux/picture/AreaScaler.h"

#include <algorithm>
#include <cstring>

namespace vesk::picture {
namespace {

/// A sum of bytes weighted with these fits 16 bits, so that one multiplication does four channels,
/// and a vector register many.
constexpr std::int64_t wholeWeight = 256;
constexpr std::uint16_t half = wholeWeight / 2;
constexpr std::int64_t channels = 4;

std::int64_t rounded(std::int64_t number, std::int64_t by) { return (number + by / 2) / by; }

void setWeighted(std::uint16_t* __restrict sum, const std::uint8_t* __restrict row,
                 std::uint16_t weight, std::size_t count) {
  for (std::size_t i = 0; i < count; ++i)
    sum[i] = static_cast<std::uint16_t>(row[i] * weight + half);
}

void addWeighted(std::uint16_t* __restrict sum, const std::uint8_t* __restrict row,
                 std::uint16_t weight, std::size_t count) {
  for (std::size_t i = 0; i < count; ++i)
    sum[i] = static_cast<std::uint16_t>(sum[i] + row[i] * weight);
}

/// Back to the range of a byte.
void divide(std::uint16_t* sum, std::size_t count) {
  for (std::size_t i = 0; i < count; ++i) sum[i] = static_cast<std::uint16_t>(sum[i] / wholeWeight);
}

/// The upper byte of each of four numbers of 16 bits, one behind the other.
std::uint32_t upperBytes(std::uint64_t numbers) {
  numbers = numbers >> 8U & 0x00ff'00ff'00ff'00ffU;
  numbers = (numbers | numbers >> 8U) & 0x0000'ffff'0000'ffffU;
  return static_cast<std::uint32_t>(numbers | numbers >> 16U);
}

}  // namespace

/// In units of which the source's pixel has `target` and the target's has `source`, every border
/// lies at a whole number.
AreaScaler::Edge::Edge(std::int64_t source, std::int64_t target) {
  for (std::int64_t i = 0; i < target; ++i) {
    const std::int64_t begin = i * source;
    const std::int64_t end = begin + source;
    const std::int64_t first = begin / target;
    const std::int64_t last = (end - 1) / target;
    shares.push_back({static_cast<std::int32_t>(first), static_cast<std::uint32_t>(weights.size()),
                      static_cast<std::int32_t>(last - first + 1)});
    // Rounded as sums, so that all of them are exact.
    std::int64_t before = 0;
    for (std::int64_t pixel = first; pixel <= last; ++pixel) {
      const std::int64_t covered = std::min((pixel + 1) * target, end) - begin;
      const std::int64_t sum = rounded(covered * wholeWeight, source);
      weights.push_back(static_cast<std::uint16_t>(sum - before));
      before = sum;
    }
  }
}

AreaScaler::AreaScaler(PixelSize source, PixelSize target)
    : across_(source.width, target.width),
      down_(source.height, target.height),
      row_(static_cast<std::size_t>(source.width * channels)) {}

void AreaScaler::scale(const std::uint8_t* from, int fromStride, const PixelRect& area,
                       std::uint8_t* to, int toStride) {
  if (area.isEmpty()) return;
  const auto& leftmost = across_.shares[static_cast<std::size_t>(area.x)];
  const auto& rightmost = across_.shares[static_cast<std::size_t>(area.right() - 1)];
  for (int row = area.y; row < area.bottom(); ++row) {
    addRows(from, fromStride, row, leftmost.first, rightmost.first + rightmost.count);
    addColumns(area, leftmost.first, to);
    to += toStride;
  }
}

/// The weighted sum of the rows of the source that a row of the target covers, of these columns.
void AreaScaler::addRows(const std::uint8_t* from, int fromStride, int row, std::int32_t begin,
                         std::int32_t end) {
  const auto& share = down_.shares[static_cast<std::size_t>(row)];
  const auto count = static_cast<std::size_t>((end - begin) * channels);
  for (std::int32_t i = 0; i < share.count; ++i) {
    const auto* const pixels =
        from + static_cast<std::ptrdiff_t>(share.first + i) * fromStride + begin * channels;
    const auto weight = down_.weights[share.weights + static_cast<std::uint32_t>(i)];
    (i == 0 ? setWeighted : addWeighted)(row_.data(), pixels, weight, count);
  }
  divide(row_.data(), count);
}

/// Four channels at a time, as four numbers of 16 bits in one of 64: no sum reaches its neighbour.
void AreaScaler::addColumns(const PixelRect& area, std::int32_t begin, std::uint8_t* to) const {
  constexpr std::uint64_t halves = half * 0x0001'0001'0001'0001U;
  for (int column = area.x; column < area.right(); ++column) {
    const auto& share = across_.shares[static_cast<std::size_t>(column)];
    const auto* const weights = across_.weights.data() + share.weights;
    const auto* from = row_.data() + (share.first - begin) * channels;
    std::uint64_t sums = halves;
    for (std::int32_t i = 0; i < share.count; ++i, from += channels) {
      std::uint64_t pixel = 0;
      std::memcpy(&pixel, from, sizeof pixel);
      sums += pixel * weights[i];
    }
    const std::uint32_t pixel = upperBytes(sums);
    std::memcpy(to, &pixel, sizeof pixel);
    to += sizeof pixel;
  }
}

}  // namespace vesk::picture
