#include "platform/linux/x11/beneath/Patch.h"

#include <algorithm>
#include <cstring>

#include "platform/linux/x11/server/rectangles.h"

namespace vesk::x11::beneath {
namespace {

std::uint16_t size(std::int32_t value) { return static_cast<std::uint16_t>(value); }

}  // namespace

Patch::Patch(const server::Connection& connection, const PixelRect& area,
             server::SharedPixels& memory, std::size_t offset, xcb_render_pictformat_t format)
    : connection_(connection),
      area_(area),
      memory_(memory),
      offset_(offset),
      background_(xcb_generate_id(connection.get())),
      composed_(xcb_generate_id(connection.get())),
      picture_(xcb_generate_id(connection.get())),
      context_(xcb_generate_id(connection.get())),
      stale_(area) {
  auto* const c = connection_.get();
  const auto root = connection_.root();
  const auto depth = xcb_setup_roots_iterator(xcb_get_setup(c)).data->root_depth;
  xcb_create_pixmap(c, depth, background_, root, size(area.width), size(area.height));
  xcb_create_pixmap(c, depth, composed_, root, size(area.width), size(area.height));
  xcb_render_create_picture(c, picture_, composed_, format, 0, nullptr);
  const std::uint32_t silent = 0;
  xcb_create_gc(c, context_, composed_, XCB_GC_GRAPHICS_EXPOSURES, &silent);
}

Patch::~Patch() {
  auto* const c = connection_.get();
  xcb_free_gc(c, context_);
  xcb_render_free_picture(c, picture_);
  xcb_free_pixmap(c, composed_);
  xcb_free_pixmap(c, background_);
}

void Patch::inheritBackground(const PixelRect& piece, const Patch& other) {
  xcb_copy_area(connection_.get(), other.background_, background_, context_,
                server::place(piece.x - other.area_.x), server::place(piece.y - other.area_.y),
                server::place(piece.x - area_.x), server::place(piece.y - area_.y),
                size(piece.width), size(piece.height));
}

void Patch::rememberBackground(const PixelRect& piece, const server::SharedPixels& screen,
                               const PixelRect& screenArea) {
  auto* const c = connection_.get();
  const auto depth = xcb_setup_roots_iterator(xcb_get_setup(c)).data->root_depth;
  xcb_shm_put_image(c, background_, context_, size(screenArea.width), size(screenArea.height),
                    size(piece.x - screenArea.x), size(piece.y - screenArea.y), size(piece.width),
                    size(piece.height), server::place(piece.x - area_.x),
                    server::place(piece.y - area_.y), depth, XCB_IMAGE_FORMAT_Z_PIXMAP, 0,
                    screen.segment(), 0);
}

void Patch::markStale(const PixelRect& part) { stale_ = around(stale_, intersection(part, area_)); }

void Patch::request(std::span<const WindowContents* const> bottomToTop, bool blended) {
  if (stale_.isEmpty()) return;
  auto* const c = connection_.get();
  const std::int32_t left = stale_.x - area_.x;
  const std::int32_t top = stale_.y - area_.y;
  xcb_copy_area(c, background_, composed_, context_, server::place(left), server::place(top),
                server::place(left), server::place(top), size(stale_.width), size(stale_.height));
  for (const auto* const contents : bottomToTop) {
    contents->paintInto(picture_, area_, stale_, blended);
  }
  // Whole rows fit into the memory without copying.
  memory_.request(
      composed_, {0, top, area_.width, stale_.height},
      offset_ + static_cast<std::size_t>(top) * static_cast<std::size_t>(area_.width) * 4);
  stale_ = {};
}

void Patch::copyRows(int top, int bottom, server::SharedPixels& screen,
                     const PixelRect& screenArea) const {
  const auto row = static_cast<std::size_t>(area_.width) * 4;
  const auto stride = static_cast<std::size_t>(screenArea.width) * 4;
  for (int y = std::max(top, area_.y); y < std::min(bottom, area_.bottom()); ++y) {
    std::memcpy(screen.data() + static_cast<std::size_t>(y - screenArea.y) * stride +
                    static_cast<std::size_t>(area_.x - screenArea.x) * 4,
                memory_.data() + offset_ + static_cast<std::size_t>(y - area_.y) * row, row);
  }
}

}  // namespace vesk::x11::beneath
