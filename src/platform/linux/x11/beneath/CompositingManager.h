#pragma once

#include <xcb/xcb.h>

#include "platform/linux/x11/server/Connection.h"

namespace vesk::x11::beneath {

/// A window manager that composes the screen itself. Not all that it shows is to be had from the
/// server: what it draws in its own picture only, and how much of a frame it leaves out.
struct CompositingManager {
  xcb_window_t window = XCB_NONE;  ///< one of its own; none while no such manager runs
  bool padsFrames = false;         ///< frames have margins that feel the pointer and are not shown
  bool drawsFrames = false;        ///< title bars and borders are in its picture only
  bool drawsWallpaper = false;     ///< whatever wallpaper the root window may name
  /// Windows that it does not manage lie in layers by their type and, in a layer, in the order in
  /// which they came up, whatever order the server has them in.
  bool stacksByItself = false;

  /// Whether it, and no program, has made the window.
  bool hasMade(const server::Connection& connection, xcb_window_t other) const;
};

/// The one that runs, given the window that owns the compositor's selection, if one does. It is
/// told by the name that it gives itself: Mutter and what is built on it, and KWin. Any other shows
/// what the server keeps. Thread: the connection's. Waits for the server.
CompositingManager compositingManager(const server::Connection& connection,
                                      xcb_window_t compositor);

}  // namespace vesk::x11::beneath
