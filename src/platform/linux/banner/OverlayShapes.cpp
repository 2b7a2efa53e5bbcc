#include "platform/linux/banner/OverlayShapes.h"

#include <algorithm>
#include <cmath>

namespace vesk::banner {
namespace {

std::int32_t rounded(double value) { return static_cast<std::int32_t>(std::lround(value)); }

}  // namespace

PixelRect pixelRect(const Rect& points, double scale) {
  const std::int32_t left = rounded(points.origin.x * scale);
  const std::int32_t top = rounded(points.origin.y * scale);
  return {left, top, rounded((points.origin.x + points.width) * scale) - left,
          rounded((points.origin.y + points.height) * scale) - top};
}

std::vector<PixelRect> borderEdges(const PixelRect& frame, std::int32_t thickness) {
  const std::int32_t top = std::min(thickness, frame.height);
  const std::int32_t bottom = std::min(thickness, frame.height - top);
  const std::int32_t left = std::min(thickness, frame.width);
  const std::int32_t right = std::min(thickness, frame.width - left);
  const std::int32_t between = frame.height - top - bottom;
  std::vector<PixelRect> edges{
      {frame.x, frame.y, frame.width, top},
      {frame.x, frame.y + frame.height - bottom, frame.width, bottom},
      {frame.x, frame.y + top, left, between},
      {frame.x + frame.width - right, frame.y + top, right, between},
  };
  std::erase_if(edges, [](const PixelRect& edge) { return edge.width <= 0 || edge.height <= 0; });
  return edges;
}

std::vector<PixelRect> tabRows(std::int32_t width, std::int32_t height, std::int32_t radius) {
  const std::int32_t corner = std::clamp(radius, 0, std::min(height, width / 2));
  std::vector<PixelRect> rows;
  if (height > corner) rows.push_back({0, 0, width, height - corner});
  for (std::int32_t row = 0; row < corner; ++row) {
    const double down = row + 0.5;
    const double across = std::sqrt(static_cast<double>(corner) * corner - down * down);
    const std::int32_t inset = rounded(corner - across);
    rows.push_back({inset, height - corner + row, width - 2 * inset, 1});
  }
  return rows;
}

}  // namespace vesk::banner
