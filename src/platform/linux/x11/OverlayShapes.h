#pragma once

#include <cstdint>
#include <vector>

#include "platform/Geometry.h"

namespace vesk::x11 {

/// A rectangle of whole pixels in the root window, or in a window.
struct PixelRect {
  std::int32_t x = 0;
  std::int32_t y = 0;
  std::int32_t width = 0;
  std::int32_t height = 0;
  bool operator==(const PixelRect&) const = default;
};

/// The pixels nearest to a rectangle in points. Neighbours stay neighbours: edges are rounded, not
/// sizes.
PixelRect pixelRect(const Rect& points, double scale);

/// The line along the inside of a frame, as four windows that do not overlap: top, bottom, left,
/// right. Those for which a thick line leaves no room are left out.
std::vector<PixelRect> borderEdges(const PixelRect& frame, std::int32_t thickness);

/// A tab of that size with its two lower corners rounded, as rectangles of rows: for servers that
/// can only show or hide a pixel.
std::vector<PixelRect> tabRows(std::int32_t width, std::int32_t height, std::int32_t radius);

}  // namespace vesk::x11
