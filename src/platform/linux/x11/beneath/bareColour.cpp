#include "platform/linux/x11/beneath/bareColour.h"

#include <algorithm>
#include <cstring>
#include <optional>

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

/// Nothing where there are no pieces.
std::optional<Place> nearestTo(const PixelRect& part, const std::vector<PixelRect>& bare) {
  if (bare.empty()) return std::nullopt;
  const Place middle{part.x + part.width / 2, part.y + part.height / 2};
  const auto distance = [&](const PixelRect& piece) {
    return squareOfDistance(nearestIn(piece, middle), middle);
  };
  return nearestIn(*std::ranges::min_element(bare, {}, distance), middle);
}

}  // namespace

std::uint32_t bareColour(const server::Connection& connection, const PixelRect& part,
                         const std::vector<PixelRect>& bare) {
  std::uint32_t colour = 0;
  const auto place = nearestTo(part, bare);
  if (!place) return colour;
  const server::ReplyPtr<xcb_get_image_reply_t> image(
      xcb_get_image_reply(connection.get(),
                          xcb_get_image(connection.get(), XCB_IMAGE_FORMAT_Z_PIXMAP,
                                        connection.root(), static_cast<std::int16_t>(place->x),
                                        static_cast<std::int16_t>(place->y), 1, 1, ~0U),
                          nullptr));
  if (image != nullptr && xcb_get_image_data_length(image.get()) >= 4) {
    std::memcpy(&colour, xcb_get_image_data(image.get()), sizeof colour);
  }
  return colour;
}

std::uint32_t bareColour(const server::SharedPixels& picture, const PixelRect& area,
                         const PixelRect& part, const std::vector<PixelRect>& bare) {
  std::uint32_t colour = 0;
  const auto place = nearestTo(part, bare);
  if (!place) return colour;
  const auto row = static_cast<std::size_t>(place->y - area.y);
  const auto pixel =
      row * static_cast<std::size_t>(area.width) + static_cast<std::size_t>(place->x - area.x);
  std::memcpy(&colour, picture.data() + pixel * sizeof colour, sizeof colour);
  return colour;
}

}  // namespace vesk::x11::beneath
