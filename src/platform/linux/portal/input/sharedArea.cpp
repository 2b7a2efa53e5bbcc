#include "platform/linux/portal/input/sharedArea.h"

#include <cmath>

namespace vesk::portal::input {
namespace {

/// Whether it is as much higher as it is wider, to within a pixel.
bool isMagnified(const Rect& told, const Rect& area) {
  return std::abs(told.width * area.height / area.width - told.height) <= 1;
}

}  // namespace

Rect sharedArea(const Rect& told, const std::vector<wayland::server::Output>& outputs) {
  if (outputs.empty()) return told;
  const Rect all = wayland::server::desktopArea(outputs);
  return told.origin == all.origin && isMagnified(told, all) ? all : told;
}

}  // namespace vesk::portal::input
