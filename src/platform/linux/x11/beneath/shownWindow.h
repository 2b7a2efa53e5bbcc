#pragma once

#include <xcb/xcb.h>

#include <optional>

#include "platform/linux/x11/beneath/StackedWindow.h"

namespace vesk::x11::beneath {

/// How the screen shows an own window: by itself or, deep in it, in the frame that a window manager
/// has put around it. No more of it is told than where that is. Nothing for a window that is gone.
/// Thread: the connection's. Waits for the server.
std::optional<StackedWindow> shownWindow(xcb_connection_t* connection, xcb_window_t window);

}  // namespace vesk::x11::beneath
