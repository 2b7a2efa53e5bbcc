#include "platform/linux/x11/server/pixelLayout.h"

namespace vesk::x11::server {
namespace {

using picture::PixelLayout;

int bitsPerPixel(const xcb_setup_t& setup, std::uint8_t depth) {
  for (auto each = xcb_setup_pixmap_formats_iterator(&setup); each.rem > 0;
       xcb_format_next(&each)) {
    if (each.data->depth == depth) return each.data->bits_per_pixel;
  }
  return 0;
}

const xcb_visualtype_t* rootVisual(const xcb_screen_t& screen) {
  for (auto depth = xcb_screen_allowed_depths_iterator(&screen); depth.rem > 0;
       xcb_depth_next(&depth)) {
    for (auto each = xcb_depth_visuals_iterator(depth.data); each.rem > 0;
         xcb_visualtype_next(&each)) {
      if (each.data->visual_id == screen.root_visual) return each.data;
    }
  }
  return nullptr;
}

}  // namespace

std::optional<PixelLayout> pixelLayout(const Connection& connection) {
  const auto& setup = *xcb_get_setup(connection.get());
  const auto& screen = *xcb_setup_roots_iterator(&setup).data;
  const auto* const visual = rootVisual(screen);
  const bool isReadable = visual != nullptr && visual->_class == XCB_VISUAL_CLASS_TRUE_COLOR &&
                          setup.image_byte_order == XCB_IMAGE_ORDER_LSB_FIRST &&
                          bitsPerPixel(setup, screen.root_depth) == 32;
  if (!isReadable) return std::nullopt;
  const auto masksAre = [&](std::uint32_t red, std::uint32_t green, std::uint32_t blue) {
    return visual->red_mask == red && visual->green_mask == green && visual->blue_mask == blue;
  };
  if (masksAre(0xff0000, 0xff00, 0xff)) return PixelLayout::eightBits;
  if (masksAre(0x3ff00000, 0xffc00, 0x3ff)) return PixelLayout::tenBits;
  return std::nullopt;
}

}  // namespace vesk::x11::server
