#pragma once

#include "platform/Geometry.h"

namespace vesk {

/// The longest edge of the encoded picture, in pixels: more costs bits that a viewer's window
/// rarely shows.
inline constexpr std::int64_t maxEdge = 1920;

/// The size of the encoded picture for a panel of `pixels`: scaled down evenly until no edge is
/// longer than `longestEdge`, then rounded down to even numbers, as 4:2:0 needs them.
PixelSize videoSize(PixelSize pixels, std::int64_t longestEdge = maxEdge);

}  // namespace vesk
