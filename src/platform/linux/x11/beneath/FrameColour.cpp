#include "platform/linux/x11/beneath/FrameColour.h"

#include <algorithm>
#include <utility>

#include "platform/linux/x11/server/pixelLayout.h"

namespace vesk::x11::beneath {

std::uint32_t mostFrequent(std::span<const std::uint32_t> pixels) {
  std::vector<std::uint32_t> sorted(pixels.begin(), pixels.end());
  std::ranges::sort(sorted);
  std::uint32_t best = 0;
  std::ptrdiff_t most = 0;
  for (auto run = sorted.begin(); run != sorted.end();) {
    const auto end = std::upper_bound(run, sorted.end(), *run);
    if (end - run > most) {
      best = *run;
      most = end - run;
    }
    run = end;
  }
  return best;
}

std::uint32_t inEightBits(std::uint32_t pixel, picture::PixelLayout layout) {
  if (layout == picture::PixelLayout::eightBits) return pixel & 0xffffffU;
  return (pixel >> 22U & 0xffU) << 16U | (pixel >> 12U & 0xffU) << 8U | (pixel >> 2U & 0xffU);
}

bool FrameColour::isTouchedBy(const std::vector<PixelRect>& drawn) const {
  return std::ranges::any_of(drawn, [&](const PixelRect& rect) {
    return std::ranges::any_of(
        inSight_, [&](const PixelRect& piece) { return !intersection(piece, rect).isEmpty(); });
  });
}

/// The largest piece tells enough.
bool FrameColour::look(const server::Connection& connection) {
  const auto area = [](const PixelRect& rect) { return rect.width * rect.height; };
  const auto largest = std::ranges::max_element(inSight_, {}, area);
  if (largest == inSight_.end()) return false;
  auto* const c = connection.get();
  const server::ReplyPtr<xcb_get_image_reply_t> image(xcb_get_image_reply(
      c,
      xcb_get_image(c, XCB_IMAGE_FORMAT_Z_PIXMAP, connection.root(),
                    static_cast<std::int16_t>(largest->x), static_cast<std::int16_t>(largest->y),
                    static_cast<std::uint16_t>(largest->width),
                    static_cast<std::uint16_t>(largest->height), ~0U),
      nullptr));
  if (image == nullptr) return false;
  const auto* const first = reinterpret_cast<const std::uint32_t*>(xcb_get_image_data(image.get()));
  std::vector<std::uint32_t> pixels(first, first + xcb_get_image_data_length(image.get()) / 4);
  const auto layout = server::pixelLayout(connection).value_or(picture::PixelLayout::eightBits);
  for (auto& pixel : pixels) pixel = inEightBits(pixel, layout);
  const std::uint32_t seen = mostFrequent(pixels);
  return std::exchange(colour_, seen) != seen;
}

}  // namespace vesk::x11::beneath
