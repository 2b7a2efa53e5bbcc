#include "platform/linux/picture/composed/surroundings.h"

#include <algorithm>
#include <cstring>

#include "platform/linux/picture/Nv12Image.h"
#include "platform/linux/picture/composed/planeRows.h"

namespace vesk::picture::composed {
namespace {

constexpr int chromaEdge = macroblockEdge / 2;

/// One plane, of pixels of one or two bytes.
template <typename Pixel>
void repeatEdges(std::uint8_t* plane, std::ptrdiff_t stride, int bytes, int rows, int borderRows) {
  constexpr int size = sizeof(Pixel);
  for (int y = 0; y < rows; ++y) {
    std::uint8_t* row = plane + y * stride;
    Pixel first, last;
    std::memcpy(&first, row, size);
    std::memcpy(&last, row + bytes - size, size);
    for (int x = 0; x < borderWidth; x += size) {
      std::memcpy(row - borderWidth + x, &first, size);
      std::memcpy(row + bytes + x, &last, size);
    }
  }
  const auto all = static_cast<std::size_t>(bytes) + std::size_t{2} * borderWidth;
  std::uint8_t* top = plane - borderWidth;
  std::uint8_t* bottom = top + (rows - 1) * stride;
  for (int y = 1; y <= borderRows; ++y) {
    std::memcpy(top - y * stride, top, all);
    std::memcpy(bottom + y * stride, bottom, all);
  }
}

}  // namespace

void copyMacroblocks(const PlanesView& from, const Planes& to, const Extent& extent, int border) {
  const int width = extent.across * macroblockEdge + 2 * border;
  const auto bytes = static_cast<std::size_t>(width);
  copyRows(from.lumaAt(-border, -border), from.lumaStride, to.lumaAt(-border, -border),
           to.lumaStride, bytes, extent.down * macroblockEdge + 2 * border);
  copyRows(from.chromaAt(-border, -border), from.chromaStride, to.chromaAt(-border, -border),
           to.chromaStride, bytes, extent.down * chromaEdge + border);
}

void restoreBorder(const Planes& picture, const Extent& extent) {
  const int bytes = extent.across * macroblockEdge;
  repeatEdges<std::uint8_t>(picture.luma, picture.lumaStride, bytes, extent.down * macroblockEdge,
                            borderWidth);
  repeatEdges<std::uint16_t>(picture.chroma, picture.chromaStride, bytes, extent.down * chromaEdge,
                             borderWidth / 2);
}

}  // namespace vesk::picture::composed
