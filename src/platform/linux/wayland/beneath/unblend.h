#pragma once

#include <cstdint>

#include "platform/linux/wayland/beneath/CoveredRun.h"
#include "platform/linux/wayland/beneath/Pixels.h"

namespace vesk::wayland::beneath {

/// Above this one, 0.95, a step of what is seen stands for so many of what lies beneath that little
/// of it can be made out.
inline constexpr std::uint8_t mostAlphaToUndo = 242;

/// Makes what is seen in a run into what lies beneath. A compositor rounds to whole steps, each of
/// which is 255 / (255 - alpha) of those beneath; half of one is the error.
void unblend(const Pixels& pixels, const CoveredRun& run);

/// Whether a pixel, the `index`-th of a run, can look as it does because that was laid over
/// something.
bool canBeBlended(const Pixels& pixels, const CoveredRun& run, std::int32_t index);

}  // namespace vesk::wayland::beneath
