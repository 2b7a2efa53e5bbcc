#include "capture/videoSize.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "platform/Fatal.h"

namespace vesk {
namespace {

std::int64_t scaled(std::int64_t edge, double scale) {
  const double product = scale * static_cast<double>(edge);
  // The limit as a double is 2^63, one more than the largest integer.
  const auto limit = static_cast<double>(std::numeric_limits<std::int64_t>::max());
  if (!std::isfinite(product) || product >= limit || product < -limit) {
    fatal("a video size does not fit 64 bits");
  }
  return static_cast<std::int64_t>(product);
}

std::int64_t roundedDownToEven(std::int64_t edge) { return edge & ~std::int64_t{1}; }

}  // namespace

PixelSize videoSize(PixelSize pixels, std::int64_t longestEdge) {
  const std::int64_t longest = std::max(pixels.width, pixels.height);
  if (longest > longestEdge) {
    const double scale = static_cast<double>(longestEdge) / static_cast<double>(longest);
    pixels = {scaled(pixels.width, scale), scaled(pixels.height, scale)};
  }
  return {roundedDownToEven(pixels.width), roundedDownToEven(pixels.height)};
}

}  // namespace vesk
