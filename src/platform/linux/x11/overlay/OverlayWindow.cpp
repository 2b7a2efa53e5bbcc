#include "platform/linux/x11/overlay/OverlayWindow.h"

#include <xcb/shape.h>

#include <array>
#include <cmath>

#include "platform/linux/x11/server/Properties.h"
#include "platform/linux/x11/server/rectangles.h"

namespace vesk::x11::overlay {
namespace {

/// The visual with an alpha channel, or XCB_NONE on a server without one.
xcb_visualid_t alphaVisual(const xcb_screen_t& screen, std::uint8_t alphaDepth) {
  for (auto depth = xcb_screen_allowed_depths_iterator(&screen); depth.rem > 0;
       xcb_depth_next(&depth)) {
    if (depth.data->depth != alphaDepth) continue;
    for (auto visual = xcb_depth_visuals_iterator(depth.data); visual.rem > 0;
         xcb_visualtype_next(&visual)) {
      if (visual.data->_class == XCB_VISUAL_CLASS_TRUE_COLOR) return visual.data->visual_id;
    }
  }
  return XCB_NONE;
}

std::uint16_t sixteenBits(double part) {
  return static_cast<std::uint16_t>(std::lround(part * 65535));
}

/// A premultiplied part of a colour in its place in the pixel.
std::uint32_t eightBits(double part, unsigned shift) {
  return static_cast<std::uint32_t>(std::lround(part * 255)) << shift;
}

}  // namespace

OverlayWindow::OverlayWindow(const server::Connection& connection, beneath::OwnWindows& ownWindows,
                             const PixelRect& frame, Kind kind, std::string_view type)
    : connection_(connection), ownWindows_(ownWindows), frame_(frame) {
  create(frame, kind);
  auto* const c = connection_.get();
  // An empty input shape: whatever is pressed or turned over the window goes to what is beneath.
  xcb_shape_rectangles(c, XCB_SHAPE_SO_SET, XCB_SHAPE_SK_INPUT, XCB_CLIP_ORDERING_UNSORTED, window_,
                       0, 0, 0, nullptr);
  // Compositors ask for the type of a window before they give it a shadow, fade it in, or stack it.
  server::setAtoms(c, window_, "_NET_WM_WINDOW_TYPE", {type});
  server::setCardinal(c, window_, "_COMPTON_SHADOW", 0);
  if (kind == Kind::plain) server::setCardinal(c, window_, "_NET_WM_BYPASS_COMPOSITOR", 1);
  constexpr std::string_view title = "Vesk Remote";
  xcb_change_property(c, XCB_PROP_MODE_REPLACE, window_, XCB_ATOM_WM_NAME, XCB_ATOM_STRING, 8,
                      title.size(), title.data());
  ownWindows_.add(window_);
}

OverlayWindow::~OverlayWindow() {
  beneath::StackedWindow shown;
  shown.id = window_;
  shown.frame = frame_;
  shown.own = true;
  ownWindows_.leave(shown, beneath::OwnWindows::Time::clock::now());
  xcb_destroy_window(connection_.get(), window_);
  if (colormap_ != XCB_NONE) xcb_free_colormap(connection_.get(), colormap_);
  // Whoever takes the picture may look at the list meanwhile: first the window goes, then its name.
  xcb_flush(connection_.get());
  ownWindows_.remove(window_);
}

void OverlayWindow::create(const PixelRect& frame, Kind kind) {
  auto* const c = connection_.get();
  const auto& screen = connection_.screen();
  xcb_visualid_t visual =
      kind == Kind::plain ? xcb_visualid_t{XCB_NONE} : alphaVisual(screen, alphaDepth);
  depth_ = visual == XCB_NONE ? screen.root_depth : alphaDepth;
  xcb_colormap_t colormap = screen.default_colormap;
  if (visual == XCB_NONE) {
    visual = screen.root_visual;
  } else {
    colormap = colormap_ = xcb_generate_id(c);
    xcb_create_colormap(c, XCB_COLORMAP_ALLOC_NONE, colormap_, screen.root, visual);
  }
  window_ = xcb_generate_id(c);
  // In the order of the mask's bits: background, border, override-redirect, colour map. A border
  // pixel has to be given where the depth is not the root's.
  const std::array<std::uint32_t, 4> values{0, 0, 1, colormap};
  xcb_create_window(
      c, depth_, window_, screen.root, static_cast<std::int16_t>(frame.x),
      static_cast<std::int16_t>(frame.y), static_cast<std::uint16_t>(frame.width),
      static_cast<std::uint16_t>(frame.height), 0, XCB_WINDOW_CLASS_INPUT_OUTPUT, visual,
      XCB_CW_BACK_PIXEL | XCB_CW_BORDER_PIXEL | XCB_CW_OVERRIDE_REDIRECT | XCB_CW_COLORMAP,
      values.data());
}

void OverlayWindow::fill(const Colour& colour) {
  const std::uint32_t pixel = pixelOf(colour);
  xcb_change_window_attributes(connection_.get(), window_, XCB_CW_BACK_PIXEL, &pixel);
  xcb_clear_area(connection_.get(), 0, window_, 0, 0, 0, 0);
}

std::uint32_t OverlayWindow::pixelOf(const Colour& colour) const {
  if (hasAlpha()) {
    return eightBits(colour.alpha, 24) | eightBits(colour.alpha * colour.red, 16) |
           eightBits(colour.alpha * colour.green, 8) | eightBits(colour.alpha * colour.blue, 0);
  }
  // Whatever the root's visual is like, the server knows its number for the colour.
  const auto& screen = connection_.screen();
  const auto request =
      xcb_alloc_color(connection_.get(), screen.default_colormap, sixteenBits(colour.red),
                      sixteenBits(colour.green), sixteenBits(colour.blue));
  const server::ReplyPtr<xcb_alloc_color_reply_t> reply(
      xcb_alloc_color_reply(connection_.get(), request, nullptr));
  return reply == nullptr ? screen.black_pixel : reply->pixel;
}

void OverlayWindow::show(const QImage& picture) {
  auto* const c = connection_.get();
  const bool narrow = depth_ == 16;
  const QImage image =
      picture.convertToFormat(hasAlpha() ? QImage::Format_ARGB32_Premultiplied
                                         : (narrow ? QImage::Format_RGB16 : QImage::Format_RGB32));
  const auto width = static_cast<std::uint16_t>(image.width());
  const auto height = static_cast<std::uint16_t>(image.height());
  const xcb_pixmap_t pixmap = xcb_generate_id(c);
  const xcb_gcontext_t context = xcb_generate_id(c);
  xcb_create_pixmap(c, depth_, pixmap, window_, width, height);
  xcb_create_gc(c, context, pixmap, 0, nullptr);
  xcb_put_image(c, XCB_IMAGE_FORMAT_Z_PIXMAP, pixmap, context, width, height, 0, 0, 0, depth_,
                static_cast<std::uint32_t>(image.sizeInBytes()), image.constBits());
  xcb_change_window_attributes(c, window_, XCB_CW_BACK_PIXMAP, &pixmap);
  xcb_free_gc(c, context);
  xcb_free_pixmap(c, pixmap);
  xcb_clear_area(c, 0, window_, 0, 0, 0, 0);
}

void OverlayWindow::cutTo(const std::vector<PixelRect>& parts) {
  auto* const c = connection_.get();
  if (parts.empty()) {
    xcb_shape_mask(c, XCB_SHAPE_SO_SET, XCB_SHAPE_SK_BOUNDING, window_, 0, 0, XCB_NONE);
    return;
  }
  const auto list = server::rectangles(parts);
  xcb_shape_rectangles(c, XCB_SHAPE_SO_SET, XCB_SHAPE_SK_BOUNDING, XCB_CLIP_ORDERING_UNSORTED,
                       window_, 0, 0, static_cast<std::uint32_t>(list.size()), list.data());
}

void OverlayWindow::map() { xcb_map_window(connection_.get(), window_); }

void OverlayWindow::unmap() { xcb_unmap_window(connection_.get(), window_); }

}  // namespace vesk::x11::overlay
