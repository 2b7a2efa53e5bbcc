#include "platform/linux/x11/beneath/bareColour.h"

#include <cstring>

namespace vesk::x11::beneath {

std::uint32_t bareColour(const server::Connection& connection, const PixelRect& area,
                         const std::vector<PixelRect>& covers) {
  std::vector<PixelRect> bare{area};
  for (const auto& cover : covers) bare = without(bare, cover);
  std::uint32_t colour = 0;
  if (bare.empty()) return colour;
  const auto& piece = bare.front();
  const server::ReplyPtr<xcb_get_image_reply_t> image(xcb_get_image_reply(
      connection.get(),
      xcb_get_image(connection.get(), XCB_IMAGE_FORMAT_Z_PIXMAP, connection.root(),
                    static_cast<std::int16_t>(piece.x + piece.width / 2),
                    static_cast<std::int16_t>(piece.y + piece.height / 2), 1, 1, ~0U),
      nullptr));
  if (image != nullptr && xcb_get_image_data_length(image.get()) >= 4) {
    std::memcpy(&colour, xcb_get_image_data(image.get()), sizeof colour);
  }
  return colour;
}

}  // namespace vesk::x11::beneath
