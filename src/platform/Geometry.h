#pragma once

#include <cstdint>

namespace vesk {

/// A place in global display coordinates, in points, y downwards; the origin is the top-left
/// corner of the main display on the Mac and of the root window on X11.
struct Point {
  double x = 0;
  double y = 0;
  bool operator==(const Point&) const = default;
};

/// A rectangle in points; `origin` is its top-left corner.
struct Rect {
  Point origin;
  double width = 0;
  double height = 0;
  bool operator==(const Rect&) const = default;
};

/// A size in pixels of the panel or of the encoded picture. Never interchangeable with points.
struct PixelSize {
  std::int64_t width = 0;
  std::int64_t height = 0;
  bool operator==(const PixelSize&) const = default;
};

}  // namespace vesk
