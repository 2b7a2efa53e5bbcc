#pragma once

#include <xcb/xcb.h>

#include <cstdint>
#include <vector>

#include "platform/linux/picture/PixelRect.h"

namespace vesk::x11 {

/// In every room of this server, what windows and pictures cover is the same kind of rectangle.
using picture::PixelRect;

namespace server {

/// A coordinate as requests take it.
constexpr std::int16_t place(std::int32_t coordinate) {
  return static_cast<std::int16_t>(coordinate);
}

/// As requests take it: places and sizes of 16 bits, which every window on a screen has.
xcb_rectangle_t rectangle(const PixelRect& rect);

std::vector<xcb_rectangle_t> rectangles(const std::vector<PixelRect>& rects);

}  // namespace server
}  // namespace vesk::x11
