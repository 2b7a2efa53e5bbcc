#pragma once

#include <cstdint>
#include <optional>

#include "link/Frame.h"

namespace vesk {

/// How long the viewer is to show a frame, given the seconds since the frame before it (nothing for
/// the first one). At least one tick and at most three frames' time: a stall of the screen is not
/// carried into the stream. Without a usable interval it is one frame's time.
///
/// A frame rate of zero or less is a programming error.
Ticks frameDuration(std::optional<double> secondsSinceLast, std::int32_t fps);

}  // namespace vesk
