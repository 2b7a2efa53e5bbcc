#pragma once

#include <xcb/xcb.h>

#include <vector>

#include "platform/linux/x11/beneath/StackedWindow.h"

namespace vesk::x11::beneath {

/// How far something that happens to windows while the server composes a picture spoils it.
enum class Disturbance {
  none,
  seam,       ///< a window may stand in two places at once
  ownWindow,  ///< an own window may be in sight
};

/// What the change of a window, of which `event` tells, does to a picture without the own ones
/// among `windows`. Thread: any. Fails: never; a window that nobody knows yet counts as an own one.
Disturbance disturbance(const xcb_generic_event_t& event, xcb_window_t window,
                        const std::vector<StackedWindow>& windows);

}  // namespace vesk::x11::beneath
