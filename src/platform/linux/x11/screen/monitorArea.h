#pragma once

#include "platform/linux/x11/server/Randr.h"
#include "platform/linux/x11/server/rectangles.h"

namespace vesk::x11::screen {

/// The monitor in the root window.
inline PixelRect areaOf(const server::Monitor& monitor) {
  return {monitor.x, monitor.y, monitor.width, monitor.height};
}

/// What of a rectangle of the root window lies in the monitor, counted from the monitor's corner.
inline PixelRect inMonitor(const PixelRect& rect, const server::Monitor& monitor) {
  return moved(intersection(rect, areaOf(monitor)), -monitor.x, -monitor.y);
}

}  // namespace vesk::x11::screen
