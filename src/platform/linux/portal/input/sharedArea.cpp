#include "platform/linux/portal/input/sharedArea.h"

#include <cmath>

namespace vesk::portal::input {
namespace {

using wayland::server::Output;

bool hasSize(const Rect& area, const PixelSize& size) {
  return std::llround(area.width) == size.width && std::llround(area.height) == size.height;
}

/// Whether it is as much higher as it is wider, to within a pixel.
bool isMagnified(const Rect& told, const Rect& area) {
  return std::abs(told.width * area.height / area.width - told.height) <= 1;
}

}  // namespace

Rect sharedArea(const Rect& told, const std::vector<Output>& outputs) {
  if (outputs.empty()) return told;
  for (const auto& output : outputs) {
    const Rect& area = output.area;
    if (told.origin != area.origin) continue;
    const bool isSame = told.width == area.width && told.height == area.height;
    if (isSame || hasSize(told, output.pixels())) return area;
  }
  const Rect all = wayland::server::desktopArea(outputs);
  return told.origin == all.origin && isMagnified(told, all) ? all : told;
}

}  // namespace vesk::portal::input
