#include "platform/linux/wayland/server/outputAt.h"

#include <algorithm>
#include <cmath>

namespace vesk::wayland::server {
namespace {

bool hasSize(const Rect& area, const PixelSize& size) {
  return std::llround(area.width) == size.width && std::llround(area.height) == size.height;
}

}  // namespace

std::optional<Output> outputAt(const Rect& told, const std::vector<Output>& outputs) {
  const auto found = std::ranges::find_if(outputs, [&](const Output& output) {
    return told == output.area ||
           (told.origin == output.area.origin && hasSize(told, output.pixels()));
  });
  return found == outputs.end() ? std::nullopt : std::optional(*found);
}

}  // namespace vesk::wayland::server
