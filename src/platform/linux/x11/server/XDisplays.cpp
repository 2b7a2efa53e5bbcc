#include "platform/linux/x11/server/XDisplays.h"

#include <algorithm>

#include "platform/linux/x11/server/Randr.h"

namespace vesk::x11::server {

/// An empty monitor for a display that is not there.
Monitor XDisplays::monitorOf(DisplayId display) {
  const auto all = watch_.current();
  const auto found = std::ranges::find(all, display, &Monitor::output);
  return found == all.end() ? Monitor{} : *found;
}

DisplayId XDisplays::mainDisplay() {
  const auto all = watch_.current();
  if (all.empty()) return 0;
  const auto primary = std::ranges::find(all, true, &Monitor::primary);
  return primary == all.end() ? all.front().output : primary->output;
}

Rect XDisplays::bounds(DisplayId display) {
  const Monitor monitor = monitorOf(display);
  return {{static_cast<double>(monitor.x), static_cast<double>(monitor.y)},
          static_cast<double>(monitor.width),
          static_cast<double>(monitor.height)};
}

PixelSize XDisplays::pixels(DisplayId display) {
  const Monitor monitor = monitorOf(display);
  return {monitor.width, monitor.height};
}

/// The picture's pixels are those of the root window, however the output's mode shows them: scaled,
/// turned, or only in part.
std::optional<PixelSize> XDisplays::modePixels(DisplayId display) {
  const auto size = pixels(display);
  return size.width > 0 ? std::optional(size) : std::nullopt;
}

}  // namespace vesk::x11::server
