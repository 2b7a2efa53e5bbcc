#include "platform/linux/x11/server/rectangles.h"

#include <algorithm>
#include <iterator>

namespace vesk::x11::server {

xcb_rectangle_t rectangle(const PixelRect& rect) {
  return {place(rect.x), place(rect.y), static_cast<std::uint16_t>(rect.width),
          static_cast<std::uint16_t>(rect.height)};
}

std::vector<xcb_rectangle_t> rectangles(const std::vector<PixelRect>& rects) {
  std::vector<xcb_rectangle_t> result;
  std::ranges::transform(rects, std::back_inserter(result), rectangle);
  return result;
}

}  // namespace vesk::x11::server
