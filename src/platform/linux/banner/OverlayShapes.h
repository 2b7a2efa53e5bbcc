#pragma once

#include <cstdint>
#include <vector>

#include "platform/Geometry.h"
#include "platform/linux/picture/PixelRect.h"

namespace vesk::banner {

using picture::PixelRect;

/// The pixels nearest to a rectangle in points. Neighbours stay neighbours: edges are rounded, not
/// sizes.
PixelRect pixelRect(const Rect& points, double scale);

/// The line along the inside of a frame, as four windows that do not overlap: top, bottom, left,
/// right. Those for which a thick line leaves no room are left out.
std::vector<PixelRect> borderEdges(const PixelRect& frame, std::int32_t thickness);

/// A tab of that size with its two lower corners rounded, as rectangles of rows: for servers that
/// can only show or hide a pixel.
std::vector<PixelRect> tabRows(std::int32_t width, std::int32_t height, std::int32_t radius);

}  // namespace vesk::banner
