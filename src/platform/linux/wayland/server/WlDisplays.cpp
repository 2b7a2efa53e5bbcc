#include "platform/linux/wayland/server/WlDisplays.h"

#include <cmath>

namespace vesk::wayland::server {

std::optional<Output> WlDisplays::find(DisplayId display) {
  const std::lock_guard lock(mutex_);
  return connection_.dispatch() ? outputs_.find(display) : std::nullopt;
}

DisplayId WlDisplays::mainDisplay() {
  const std::lock_guard lock(mutex_);
  const auto main = connection_.dispatch() ? outputs_.main() : std::nullopt;
  return main ? main->id : 0;
}

Rect WlDisplays::bounds(DisplayId display) {
  const auto output = find(display);
  return output ? output->area : Rect{};
}

PixelSize WlDisplays::pixels(DisplayId display) {
  const Rect area = bounds(display);
  return {std::llround(area.width), std::llround(area.height)};
}

std::optional<PixelSize> WlDisplays::modePixels(DisplayId display) {
  const auto output = find(display);
  return output ? std::optional(output->pixels()) : std::nullopt;
}

}  // namespace vesk::wayland::server
