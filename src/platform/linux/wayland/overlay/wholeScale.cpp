#include "platform/linux/wayland/overlay/wholeScale.h"

#include <cmath>

namespace vesk::wayland::overlay {

std::optional<std::int32_t> wholeScale(const server::Output& output) {
  // A panel may have a few pixels more than its points make up: their number is rounded.
  const double beyond =
      static_cast<double>(output.pixels().width) - output.area.width * output.bufferScale;
  if (std::abs(beyond) >= output.bufferScale) return std::nullopt;
  return output.bufferScale;
}

}  // namespace vesk::wayland::overlay
