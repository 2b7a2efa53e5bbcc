#pragma once

#include <xcb/xcb.h>

#include <vector>

#include "platform/linux/picture/PixelRect.h"

namespace vesk::x11 {

/// In every room of this server, what windows and pictures cover is the same kind of rectangle.
using picture::PixelRect;

namespace server {

/// As requests take it: places and sizes of 16 bits, which every window on a screen has.
xcb_rectangle_t rectangle(const PixelRect& rect);

std::vector<xcb_rectangle_t> rectangles(const std::vector<PixelRect>& rects);

}  // namespace server
}  // namespace vesk::x11
