#pragma once

#include <xcb/xcb.h>

#include <cstdint>

#include "platform/linux/x11/server/rectangles.h"

namespace vesk::x11::beneath {

/// A window that is shown directly on the root window.
struct StackedWindow {
  xcb_window_t id = XCB_NONE;
  PixelRect frame;  ///< with its border, in the root window
  PixelRect shown;  ///< of the frame, what the screen shows: some margins are for the pointer alone
  PixelRect kept;   ///< of that, what the server keeps: a compositor may draw title bars itself
  std::int32_t border = 0;
  std::uint8_t depth = 0;
  xcb_visualid_t visual = XCB_NONE;
  bool own = false;     ///< it is, or it holds, one of the program's own windows
  bool framed = false;  ///< and a window manager has put a frame around that
  bool operator==(const StackedWindow&) const = default;
};

}  // namespace vesk::x11::beneath
