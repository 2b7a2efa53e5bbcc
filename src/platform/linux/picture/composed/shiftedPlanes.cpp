#include "platform/linux/picture/composed/shiftedPlanes.h"

#include <algorithm>
#include <cstddef>

#include "platform/linux/picture/composed/Origin.h"

namespace vesk::picture::composed {
namespace {

/// Neighbours in a row of macroblocks that have moved, in bytes of a row of pixels; those of either
/// plane are as many.
struct Span {
  int begin;
  int end;
};

void findSpans(const MovedBlocks& moved, int row, std::vector<Span>& spans) {
  spans.clear();
  for (int column = 0; column < moved.across; ++column) {
    if (!moved.isMoved(row, column)) continue;
    const int begin = column;
    while (column < moved.across && moved.isMoved(row, column)) ++column;
    spans.push_back({begin * macroblockEdge, column * macroblockEdge});
  }
}

/// One plane, row by row from the side to which things have moved, so that no row is written over
/// before it is read; by way of a row beside it where it comes from itself or from between samples.
class Shifter {
 public:
  explicit Shifter(const MovedBlocks& moved)
      : moved_(moved), kept_(static_cast<std::size_t>(moved.across * macroblockEdge)) {}

  void shiftLuma(std::uint8_t* plane, std::ptrdiff_t stride) {
    shiftPlane(plane, stride, macroblockEdge, lumaOrigin(moved_.shift, stride));
  }

  void shiftChroma(std::uint8_t* plane, std::ptrdiff_t stride) {
    shiftPlane(plane, stride, macroblockEdge / 2, chromaOrigin(moved_.shift, stride));
  }

 private:
  /// `height` is the one of a row of macroblocks.
  void shiftPlane(std::uint8_t* plane, std::ptrdiff_t stride, int height, const Origin& origin) {
    const int rows = moved_.down();
    const bool downwards = moved_.shift.down > 0;
    for (int i = 0; i < rows; ++i) {
      const int row = downwards ? rows - 1 - i : i;
      findSpans(moved_, row, spans_);
      if (spans_.empty()) continue;
      for (int j = 0; j < height; ++j) {
        const int y = row * height + (downwards ? height - 1 - j : j);
        shiftRow(plane + y * stride, origin);
      }
    }
  }

  void shiftRow(std::uint8_t* row, const Origin& origin) {
    if (moved_.shift.down != 0 && !origin.isBetween()) {
      for (const auto& span : spans_) {
        std::copy_n(row + span.begin + origin.first, span.end - span.begin, row + span.begin);
      }
      return;
    }
    for (const auto& span : spans_) {
      fetch(row + span.begin, origin, span.end - span.begin, kept_.data() + span.begin);
    }
    for (const auto& span : spans_) {
      std::copy(kept_.data() + span.begin, kept_.data() + span.end, row + span.begin);
    }
  }

  const MovedBlocks& moved_;
  std::vector<std::uint8_t> kept_;
  std::vector<Span> spans_;
};

}  // namespace

void shift(const Planes& planes, const MovedBlocks& moved) {
  Shifter shifter(moved);
  shifter.shiftLuma(planes.luma, planes.lumaStride);
  shifter.shiftChroma(planes.chroma, planes.chromaStride);
}

}  // namespace vesk::picture::composed
