#include "platform/linux/x11/beneath/WindowContents.h"

#include <xcb/composite.h>
#include <xcb/shape.h>

#include "platform/linux/x11/server/rectangles.h"

namespace vesk::x11::beneath {

WindowContents::WindowContents(const server::Connection& connection, const StackedWindow& window,
                               xcb_render_pictformat_t format)
    : connection_(connection), window_(window), format_(format) {
  auto* const c = connection_.get();
  xcb_shape_select_input(c, window_.id, 1);
  damage_ = xcb_generate_id(c);
  xcb_damage_create(c, damage_, window_.id, XCB_DAMAGE_REPORT_LEVEL_NON_EMPTY);
  // A new watch begins with the whole window, which is looked at anyway.
  xcb_damage_subtract(c, damage_, XCB_NONE, XCB_NONE);
  acquire();
}

WindowContents::~WindowContents() {
  auto* const c = connection_.get();
  release();
  xcb_damage_destroy(c, damage_);
  xcb_shape_select_input(c, window_.id, 0);
}

void WindowContents::renew(const StackedWindow& window) {
  window_ = window;
  release();
  acquire();
}

void WindowContents::acquire() {
  auto* const c = connection_.get();
  pixmap_ = xcb_generate_id(c);
  xcb_composite_name_window_pixmap(c, window_.id, pixmap_);
  picture_ = xcb_generate_id(c);
  xcb_render_create_picture(c, picture_, pixmap_, format_, 0, nullptr);
  outline_ = xcb_generate_id(c);
  xcb_xfixes_create_region_from_window(c, outline_, window_.id, XCB_SHAPE_SK_BOUNDING);
}

void WindowContents::release() {
  auto* const c = connection_.get();
  xcb_xfixes_destroy_region(c, outline_);
  xcb_render_free_picture(c, picture_);
  xcb_free_pixmap(c, pixmap_);
}

void WindowContents::paintInto(xcb_render_picture_t target, const PixelRect& part,
                               const PixelRect& within, bool blended) const {
  if (intersection(intersection(within, part), window_.shown).isEmpty()) return;
  auto* const c = connection_.get();
  // The outline counts from inside the border, the contents from outside.
  xcb_xfixes_set_picture_clip_region(c, target, outline_,
                                     server::place(window_.frame.x + window_.border - part.x),
                                     server::place(window_.frame.y + window_.border - part.y));
  paintFrame(target, part, within);
  const PixelRect area = intersection(intersection(within, part), window_.kept);
  if (area.isEmpty()) return;
  constexpr std::uint8_t alphaDepth = 32;
  const bool over = blended && window_.depth == alphaDepth;
  xcb_render_composite(
      c, over ? XCB_RENDER_PICT_OP_OVER : XCB_RENDER_PICT_OP_SRC, picture_, XCB_NONE, target,
      server::place(area.x - window_.frame.x), server::place(area.y - window_.frame.y), 0, 0,
      server::place(area.x - part.x), server::place(area.y - part.y),
      static_cast<std::uint16_t>(area.width), static_cast<std::uint16_t>(area.height));
}

void WindowContents::paintFrame(xcb_render_picture_t target, const PixelRect& part,
                                const PixelRect& within) const {
  const auto colour = frameColour_.colour();
  if (!colour) return;
  const PixelRect area = intersection(intersection(within, part), window_.shown);
  auto pieces = without({area}, window_.kept);
  for (auto& piece : pieces) piece = moved(piece, -part.x, -part.y);
  const auto rects = server::rectangles(pieces);
  const auto channel = [&](int shift) {
    return static_cast<std::uint16_t>((*colour >> shift & 0xffU) * 0x101U);
  };
  xcb_render_fill_rectangles(connection_.get(), XCB_RENDER_PICT_OP_SRC, target,
                             {channel(16), channel(8), channel(0), 0xffff},
                             static_cast<std::uint32_t>(rects.size()), rects.data());
}

void WindowContents::takeDamage(xcb_xfixes_region_t all, xcb_xfixes_region_t scratch) {
  if (!damaged_) return;
  damaged_ = false;
  auto* const c = connection_.get();
  xcb_damage_subtract(c, damage_, XCB_NONE, scratch);
  xcb_xfixes_translate_region(c, scratch,
                              static_cast<std::int16_t>(window_.frame.x + window_.border),
                              static_cast<std::int16_t>(window_.frame.y + window_.border));
  xcb_xfixes_union_region(c, all, scratch, all);
}

}  // namespace vesk::x11::beneath
