#include "platform/linux/x11/XDisplays.h"

#include <algorithm>

#include "platform/linux/x11/Randr.h"

namespace vesk::x11 {
namespace {

/// An empty monitor for a display that is not there.
Monitor monitorOf(const Connection& connection, DisplayId display) {
  const auto all = monitors(connection);
  const auto found = std::ranges::find(all, display, &Monitor::output);
  return found == all.end() ? Monitor{} : *found;
}

}  // namespace

DisplayId XDisplays::mainDisplay() {
  const auto all = monitors(connection_);
  if (all.empty()) return 0;
  const auto primary = std::ranges::find(all, true, &Monitor::primary);
  return primary == all.end() ? all.front().output : primary->output;
}

Rect XDisplays::bounds(DisplayId display) {
  const Monitor monitor = monitorOf(connection_, display);
  return {{static_cast<double>(monitor.x), static_cast<double>(monitor.y)},
          static_cast<double>(monitor.width),
          static_cast<double>(monitor.height)};
}

PixelSize XDisplays::pixels(DisplayId display) {
  const Monitor monitor = monitorOf(connection_, display);
  return {monitor.width, monitor.height};
}

std::optional<PixelSize> XDisplays::modePixels(DisplayId display) {
  return modeSize(connection_, display);
}

}  // namespace vesk::x11
