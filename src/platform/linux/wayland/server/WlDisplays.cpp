#include "platform/linux/wayland/server/WlDisplays.h"

#include <cmath>

namespace vesk::wayland::server {

/// As they are now; null without a compositor.
const OutputList* WlDisplays::outputs() {
  if (link_->connection.dispatch()) return &link_->outputs;
  link_ = std::make_unique<Link>();
  return link_->connection ? &link_->outputs : nullptr;
}

std::optional<Output> WlDisplays::find(DisplayId display) {
  const std::lock_guard lock(mutex_);
  const auto* const all = outputs();
  return all == nullptr ? std::nullopt : all->find(display);
}

DisplayId WlDisplays::mainDisplay() {
  const std::lock_guard lock(mutex_);
  const auto* const all = outputs();
  const auto main = all == nullptr ? std::nullopt : all->main();
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
