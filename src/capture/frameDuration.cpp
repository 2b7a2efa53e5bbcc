#include "capture/frameDuration.h"

#include <algorithm>
#include <cmath>

#include "platform/Fatal.h"

namespace vesk {
namespace {

constexpr std::int32_t ticksPerSecond = 90'000;
constexpr double longestInFrames = 3;

}  // namespace

Ticks frameDuration(std::optional<double> secondsSinceLast, std::int32_t fps) {
  if (fps <= 0) fatal("a frame's duration was asked for at no frame rate");
  const std::int32_t nominal = ticksPerSecond / fps;
  if (!secondsSinceLast || !std::isfinite(*secondsSinceLast) || *secondsSinceLast <= 0) {
    return static_cast<Ticks>(nominal);
  }
  const double ticks = std::max(*secondsSinceLast * ticksPerSecond, 1.0);
  return static_cast<Ticks>(std::min(ticks, longestInFrames * nominal));
}

}  // namespace vesk
