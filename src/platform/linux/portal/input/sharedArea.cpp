#include "platform/linux/portal/input/sharedArea.h"

#include <algorithm>
#include <cmath>

namespace vesk::portal::input {
namespace {

using wayland::server::Output;

bool hasSize(const Rect& area, const PixelSize& size) {
  return std::llround(area.width) == size.width && std::llround(area.height) == size.height;
}

Rect around(const Rect& one, const Rect& other) {
  const Point first{std::min(one.origin.x, other.origin.x), std::min(one.origin.y, other.origin.y)};
  const auto right = std::max(one.origin.x + one.width, other.origin.x + other.width);
  const auto bottom = std::max(one.origin.y + one.height, other.origin.y + other.height);
  return {first, right - first.x, bottom - first.y};
}

/// Whether it is as much higher as it is wider, to within a pixel.
bool isMagnified(const Rect& told, const Rect& area) {
  return std::abs(told.width * area.height / area.width - told.height) <= 1;
}

}  // namespace

Rect sharedArea(const Rect& told, const std::vector<Output>& outputs) {
  if (outputs.empty()) return told;
  Rect all = outputs.front().area;
  for (const auto& output : outputs) {
    const Rect& area = output.area;
    all = around(all, area);
    if (told.origin != area.origin) continue;
    const bool isSame = told.width == area.width && told.height == area.height;
    if (isSame || hasSize(told, output.pixels())) return area;
  }
  return told.origin == all.origin && isMagnified(told, all) ? all : told;
}

}  // namespace vesk::portal::input
