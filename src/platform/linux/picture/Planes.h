#pragma once

#include <cstddef>
#include <cstdint>

namespace vesk::picture {

/// Where the pixels of a 4:2:0 picture lie: luma, and chroma as pairs of blue and red difference,
/// half as wide and half as high. Owns nothing. Strides are bytes.
template <typename Byte>
struct PlanesOf {
  Byte* luma = nullptr;
  Byte* chroma = nullptr;
  std::ptrdiff_t lumaStride = 0;
  std::ptrdiff_t chromaStride = 0;

  Byte* lumaAt(int x, int y) const { return luma + y * lumaStride + x; }

  /// The pair that belongs to a pixel of the luma, `x` and `y` being even.
  Byte* chromaAt(int x, int y) const { return chroma + y / 2 * chromaStride + x; }

  /// The same from a pixel on, `x` and `y` being even.
  PlanesOf from(int x, int y) const {
    return {lumaAt(x, y), chromaAt(x, y), lumaStride, chromaStride};
  }

  PlanesOf<const Byte> view() const { return {luma, chroma, lumaStride, chromaStride}; }
};

using Planes = PlanesOf<std::uint8_t>;
using PlanesView = PlanesOf<const std::uint8_t>;

}  // namespace vesk::picture
