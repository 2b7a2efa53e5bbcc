#pragma once

#include <array>
#include <cstdint>

#include "platform/linux/picture/PixelRect.h"
#include "platform/linux/x11/server/Connection.h"
#include "platform/linux/x11/server/rectangles.h"

namespace vesk::testing {

/// A window of one colour that no window manager touches, on the server that DISPLAY names. It is
/// shown once `show` has returned. Each call returns once the server has done what it asks for.
///
/// Thread: one at a time. Owns: its connection, and with it the window.
class PlainWindow {
 public:
  PlainWindow(const picture::PixelRect& frame, std::uint32_t colour)
      : id_(xcb_generate_id(connection_.get())), context_(xcb_generate_id(connection_.get())) {
    auto* const c = connection_.get();
    constexpr std::uint32_t unmanaged = 1;
    const std::array values{colour, unmanaged};
    const auto place = x11::server::rectangle(frame);
    xcb_create_window(c, XCB_COPY_FROM_PARENT, id_, connection_.root(), place.x, place.y,
                      place.width, place.height, 0, XCB_WINDOW_CLASS_INPUT_OUTPUT,
                      XCB_COPY_FROM_PARENT, XCB_CW_BACK_PIXEL | XCB_CW_OVERRIDE_REDIRECT,
                      values.data());
    xcb_create_gc(c, context_, id_, 0, nullptr);
    finish();
  }

  xcb_window_t id() const { return id_; }

  void show() {
    xcb_map_window(connection_.get(), id_);
    finish();
  }

  void hide() {
    xcb_unmap_window(connection_.get(), id_);
    finish();
  }

  void raise() {
    const std::uint32_t above = XCB_STACK_MODE_ABOVE;
    xcb_configure_window(connection_.get(), id_, XCB_CONFIG_WINDOW_STACK_MODE, &above);
    finish();
  }

  void move(int x, int y) {
    const std::array values{static_cast<std::uint32_t>(x), static_cast<std::uint32_t>(y)};
    xcb_configure_window(connection_.get(), id_, XCB_CONFIG_WINDOW_X | XCB_CONFIG_WINDOW_Y,
                         values.data());
    finish();
  }

  void fill(const picture::PixelRect& area, std::uint32_t colour) {
    const auto rect = x11::server::rectangle(area);
    xcb_change_gc(connection_.get(), context_, XCB_GC_FOREGROUND, &colour);
    xcb_poly_fill_rectangle(connection_.get(), id_, context_, 1, &rect);
    finish();
  }

 private:
  void finish() {
    const x11::server::ReplyPtr<xcb_get_input_focus_reply_t> done(xcb_get_input_focus_reply(
        connection_.get(), xcb_get_input_focus(connection_.get()), nullptr));
  }

  x11::server::Connection connection_;
  xcb_window_t id_;
  xcb_gcontext_t context_;
};

}  // namespace vesk::testing
