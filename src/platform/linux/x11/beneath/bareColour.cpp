#include "platform/linux/x11/beneath/bareColour.h"

#include <algorithm>
#include <cstring>

namespace vesk::x11::beneath {

namespace {

struct Place {
  std::int32_t x = 0;
  std::int32_t y = 0;
};

std::int64_t squareOfDistance(const Place& a, const Place& b) {
  const std::int64_t across = a.x - b.x;
  const std::int64_t down = a.y - b.y;
  return across * across + down * down;
}

Place nearestIn(const PixelRect& piece, const Place& to) {
  return {std::clamp(to.x, piece.x, piece.right() - 1),
          std::clamp(to.y, piece.y, piece.bottom() - 1)};
}

}  // namespace

std::uint32_t bareColour(const server::Connection& connection, const PixelRect& part,
                         const std::vector<PixelRect>& bare) {
  std::uint32_t colour = 0;
  if (bare.empty()) return colour;
  const Place middle{part.x + part.width / 2, part.y + part.height / 2};
  const auto distance = [&](const PixelRect& piece) {
    return squareOfDistance(nearestIn(piece, middle), middle);
  };
  const Place place = nearestIn(*std::ranges::min_element(bare, {}, distance), middle);
  const server::ReplyPtr<xcb_get_image_reply_t> image(
      xcb_get_image_reply(connection.get(),
                          xcb_get_image(connection.get(), XCB_IMAGE_FORMAT_Z_PIXMAP,
                                        connection.root(), static_cast<std::int16_t>(place.x),
                                        static_cast<std::int16_t>(place.y), 1, 1, ~0U),
                          nullptr));
  if (image != nullptr && xcb_get_image_data_length(image.get()) >= 4) {
    std::memcpy(&colour, xcb_get_image_data(image.get()), sizeof colour);
  }
  return colour;
}

}  // namespace vesk::x11::beneath
