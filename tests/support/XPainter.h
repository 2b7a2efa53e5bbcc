#pragma once

#include <cstdlib>
#include <string>

#include "platform/linux/x11/server/Connection.h"

namespace vesk::testing {

/// Names a private server to everything in this process for the length of a test.
class DisplayVariable {
 public:
  explicit DisplayVariable(const std::string& display) { ::setenv("DISPLAY", display.c_str(), 1); }
  ~DisplayVariable() { ::unsetenv("DISPLAY"); }
  DisplayVariable(const DisplayVariable&) = delete;
  DisplayVariable& operator=(const DisplayVariable&) = delete;
};

/// Draws on the root window of the server that DISPLAY names. Thread: the test's.
class XPainter {
 public:
  XPainter() : gc_(xcb_generate_id(connection_.get())) {
    xcb_create_gc(connection_.get(), gc_, connection_.root(), 0, nullptr);
  }

  void fill(int x, int y, int width, int height, std::uint32_t colour) {
    auto* c = connection_.get();
    const xcb_rectangle_t rect{static_cast<std::int16_t>(x), static_cast<std::int16_t>(y),
                               static_cast<std::uint16_t>(width),
                               static_cast<std::uint16_t>(height)};
    xcb_change_gc(c, gc_, XCB_GC_FOREGROUND, &colour);
    xcb_poly_fill_rectangle(c, connection_.root(), gc_, 1, &rect);
    xcb_flush(c);
  }

  void movePointer(int x, int y) {
    xcb_warp_pointer(connection_.get(), XCB_NONE, connection_.root(), 0, 0, 0, 0,
                     static_cast<std::int16_t>(x), static_cast<std::int16_t>(y));
    xcb_flush(connection_.get());
  }

  /// Gives the root window a black arrow.
  void showArrow() {
    auto* c = connection_.get();
    const auto font = xcb_generate_id(c);
    xcb_open_font(c, font, 6, "cursor");
    const xcb_cursor_t cursor = xcb_generate_id(c);
    constexpr std::uint16_t arrow = 2;
    xcb_create_glyph_cursor(c, cursor, font, font, arrow, arrow + 1, 0, 0, 0, 0xffff, 0xffff,
                            0xffff);
    xcb_change_window_attributes(c, connection_.root(), XCB_CW_CURSOR, &cursor);
    xcb_flush(c);
  }

 private:
  x11::server::Connection connection_;
  xcb_gcontext_t gc_;
};

}  // namespace vesk::testing
