#include "platform/linux/x11/beneath/RootBackground.h"

#include <xcb/composite.h>
#include <xcb/shape.h>

#include <array>

#include "platform/linux/x11/server/Properties.h"

namespace vesk::x11::beneath {
namespace {

xcb_rectangle_t wholeOf(const PixelRect& part) {
  return {0, 0, static_cast<std::uint16_t>(part.width), static_cast<std::uint16_t>(part.height)};
}

}  // namespace

void RootBackground::watch() { property_ = server::atom(connection_.get(), "_XROOTPMAP_ID"); }

bool RootBackground::isReplacedBy(const xcb_generic_event_t& event) const {
  return (event.response_type & 0x7f) == XCB_PROPERTY_NOTIFY &&
         reinterpret_cast<const xcb_property_notify_event_t&>(event).atom == property_;
}

bool RootBackground::paint(xcb_pixmap_t target, const PixelRect& part, Painter painter,
                           std::uint32_t colour) {
  fill(target, part, colour);
  if (painter == Painter::itsOwn) return false;
  if (const xcb_pixmap_t pixmap = wallpaper(); pixmap != XCB_NONE) {
    tile(target, part, pixmap);
    return true;
  }
  if (painter == Painter::server) copyFromWindow(target, part);
  return painter == Painter::server;
}

/// Whoever sets a wallpaper leaves its number with the root window.
xcb_pixmap_t RootBackground::wallpaper() const {
  auto* const c = connection_.get();
  const auto named = server::numbers(c, connection_.root(), property_, XCB_ATOM_PIXMAP);
  if (named.empty()) return XCB_NONE;
  const xcb_pixmap_t pixmap = named.front();
  const server::ReplyPtr<xcb_get_geometry_reply_t> geometry(
      xcb_get_geometry_reply(c, xcb_get_geometry(c, pixmap), nullptr));
  const auto depth = xcb_setup_roots_iterator(xcb_get_setup(c)).data->root_depth;
  return geometry != nullptr && geometry->depth == depth ? pixmap : xcb_pixmap_t{XCB_NONE};
}

void RootBackground::tile(xcb_pixmap_t target, const PixelRect& part,
                          xcb_pixmap_t wallpaper) const {
  auto* const c = connection_.get();
  const xcb_gcontext_t context = xcb_generate_id(c);
  const std::array<std::uint32_t, 4> values{XCB_FILL_STYLE_TILED, wallpaper,
                                            static_cast<std::uint32_t>(-part.x),
                                            static_cast<std::uint32_t>(-part.y)};
  xcb_create_gc(
      c, context, target,
      XCB_GC_FILL_STYLE | XCB_GC_TILE | XCB_GC_TILE_STIPPLE_ORIGIN_X | XCB_GC_TILE_STIPPLE_ORIGIN_Y,
      values.data());
  const auto whole = wholeOf(part);
  xcb_poly_fill_rectangle(c, target, context, 1, &whole);
  xcb_free_gc(c, context);
}

void RootBackground::fill(xcb_pixmap_t target, const PixelRect& part, std::uint32_t colour) const {
  auto* const c = connection_.get();
  const xcb_gcontext_t context = xcb_generate_id(c);
  xcb_create_gc(c, context, target, XCB_GC_FOREGROUND, &colour);
  const auto whole = wholeOf(part);
  xcb_poly_fill_rectangle(c, target, context, 1, &whole);
  xcb_free_gc(c, context);
}

/// A background cannot be asked for, only inherited: by a window below all others that nobody sees,
/// because its contents are taken off the screen before it is shown.
void RootBackground::copyFromWindow(xcb_pixmap_t target, const PixelRect& part) const {
  auto* const c = connection_.get();
  const xcb_window_t window = xcb_generate_id(c);
  const std::array<std::uint32_t, 2> values{XCB_BACK_PIXMAP_PARENT_RELATIVE, 1};
  xcb_create_window(c, XCB_COPY_FROM_PARENT, window, connection_.root(),
                    static_cast<std::int16_t>(part.x), static_cast<std::int16_t>(part.y),
                    static_cast<std::uint16_t>(part.width), static_cast<std::uint16_t>(part.height),
                    0, XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT,
                    XCB_CW_BACK_PIXMAP | XCB_CW_OVERRIDE_REDIRECT, values.data());
  const std::uint32_t below = XCB_STACK_MODE_BELOW;
  xcb_configure_window(c, window, XCB_CONFIG_WINDOW_STACK_MODE, &below);
  xcb_shape_rectangles(c, XCB_SHAPE_SO_SET, XCB_SHAPE_SK_INPUT, XCB_CLIP_ORDERING_UNSORTED, window,
                       0, 0, 0, nullptr);
  // Refused when a compositor has come in between: then the window must not be shown.
  const server::ReplyPtr<xcb_generic_error_t> refused(xcb_request_check(
      c, xcb_composite_redirect_window_checked(c, window, XCB_COMPOSITE_REDIRECT_MANUAL)));
  if (refused == nullptr) {
    xcb_map_window(c, window);
    const xcb_gcontext_t context = xcb_generate_id(c);
    const std::uint32_t silent = 0;
    xcb_create_gc(c, context, target, XCB_GC_GRAPHICS_EXPOSURES, &silent);
    xcb_copy_area(c, window, target, context, 0, 0, 0, 0, static_cast<std::uint16_t>(part.width),
                  static_cast<std::uint16_t>(part.height));
    xcb_free_gc(c, context);
  }
  xcb_destroy_window(c, window);
}

}  // namespace vesk::x11::beneath
