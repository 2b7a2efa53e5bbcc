#include "platform/linux/wayland/beneath/OwnSurfaces.h"

#include <algorithm>
#include <utility>

namespace vesk::wayland::beneath {

OwnSurfaces::Change::Change(OwnSurfaces& surfaces) : surfaces_(surfaces) {
  const std::lock_guard lock(surfaces_.mutex_);
  ++surfaces_.changes_;
  ++surfaces_.generation_;
}

OwnSurfaces::Change::~Change() {
  const std::lock_guard lock(surfaces_.mutex_);
  --surfaces_.changes_;
}

OwnSurfaces::Number OwnSurfaces::add(OwnSurface surface) {
  const std::lock_guard lock(mutex_);
  surfaces_.push_back({++last_, std::move(surface)});
  return last_;
}

void OwnSurfaces::replace(Number number, OwnSurface surface) {
  const std::lock_guard lock(mutex_);
  const auto found = std::ranges::find(surfaces_, number, &Numbered::number);
  if (found != surfaces_.end()) found->surface = std::move(surface);
}

void OwnSurfaces::remove(Number number) {
  const std::lock_guard lock(mutex_);
  std::erase_if(surfaces_, [&](const Numbered& each) { return each.number == number; });
}

OwnSurfaces::Shown OwnSurfaces::shown() const {
  const std::lock_guard lock(mutex_);
  Shown shown{changes_ == 0, generation_, {}};
  for (const auto& each : surfaces_) shown.surfaces.push_back(each.surface);
  return shown;
}

}  // namespace vesk::wayland::beneath
