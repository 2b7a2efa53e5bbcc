#include "platform/linux/x11/beneath/Patches.h"

namespace vesk::x11::beneath {

Patches::Patches(const server::Connection& connection, const PictureFormats& formats,
                 const std::vector<PixelRect>& parts)
    : connection_(connection) {
  const auto* const screen = xcb_setup_roots_iterator(xcb_get_setup(connection_.get())).data;
  const auto format = formats.find(screen->root_visual);
  std::size_t bytes = 0;
  for (const auto& part : parts) bytes += Patch::bytesOf(part);
  if (bytes > 0) memory_ = std::make_unique<server::SharedPixels>(connection_, bytes);
  if (memory_ == nullptr || !*memory_ || format == formats.end()) return;
  std::size_t offset = 0;
  for (const auto& part : parts) {
    patches_.push_back(
        std::make_unique<Patch>(connection_, part, *memory_, offset, format->second));
    offset += Patch::bytesOf(part);
  }
}

void Patches::markStale() {
  for (const auto& patch : patches_) patch->markStale();
}

void Patches::markStale(const std::vector<PixelRect>& rects) {
  for (const auto& patch : patches_) {
    for (const auto& rect : rects) patch->markStale(rect);
  }
}

void Patches::request(std::span<const WindowContents* const> bottomToTop, bool blended) {
  for (const auto& patch : patches_) patch->request(bottomToTop, blended);
}

void Patches::copyRows(int top, int bottom, server::SharedPixels& screen,
                       const PixelRect& screenArea) const {
  for (const auto& patch : patches_) patch->copyRows(top, bottom, screen, screenArea);
}

}  // namespace vesk::x11::beneath
