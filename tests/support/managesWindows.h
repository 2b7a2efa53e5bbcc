#pragma once

#include <xcb/xcb.h>

namespace vesk::testing {

/// Waits until a window manager answers a question; whether it has in time.
///
/// That it tells of itself is not enough: one that is still starting may have read a request and
/// then sleep before it looks at it, until something else comes. Whoever answers is past that.
bool managesWindows(xcb_connection_t* connection);

}  // namespace vesk::testing
