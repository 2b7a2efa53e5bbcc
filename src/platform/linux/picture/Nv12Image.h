#pragma once

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <vector>

#include "platform/ImageBuffer.h"
#include "platform/linux/picture/Planes.h"

namespace vesk::picture {

/// The edge of a macroblock, the unit in which changes are tracked.
inline constexpr int macroblockEdge = 16;

/// How many macroblocks cover that many pixels.
constexpr int macroblocksAcross(std::int64_t pixels) {
  return static_cast<int>((pixels + macroblockEdge - 1) / macroblockEdge);
}

/// A 4:2:0 video-range image in two planes, luma and interleaved chroma, of one stream of images.
///
/// It knows of each macroblock since which image of its stream it has looked the way it does. A
/// receiver that saw image n, and perhaps none since, finds what it missed as the macroblocks that
/// changed after n.
class Nv12Image final : public ImageBuffer {
 public:
  /// The numbers of a stream's images begin at 1.
  using Sequence = std::uint32_t;

  /// The pixels are black.
  explicit Nv12Image(PixelSize size);

  PixelSize size() const override { return size_; }

  int stride() const { return stride_; }
  std::uint8_t* luma() { return pixels_.get(); }
  const std::uint8_t* luma() const { return pixels_.get(); }
  std::uint8_t* chroma() { return pixels_.get() + lumaSize(); }
  const std::uint8_t* chroma() const { return pixels_.get() + lumaSize(); }
  Planes planes() { return {luma(), chroma(), stride_, stride_}; }
  PlanesView planes() const { return {luma(), chroma(), stride_, stride_}; }

  Sequence sequence = 0;
  std::vector<Sequence> changedAt;  ///< per macroblock, row by row

 private:
  struct Free {
    void operator()(std::uint8_t* pixels) const { std::free(pixels); }
  };

  std::size_t lumaSize() const {
    return static_cast<std::size_t>(stride_) * static_cast<std::size_t>(size_.height);
  }
  std::size_t chromaSize() const {
    return static_cast<std::size_t>(stride_) * static_cast<std::size_t>((size_.height + 1) / 2);
  }

  PixelSize size_;
  int stride_;
  std::unique_ptr<std::uint8_t, Free> pixels_;
};

}  // namespace vesk::picture
