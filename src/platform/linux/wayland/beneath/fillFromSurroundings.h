#pragma once

#include <span>

#include "platform/linux/picture/PixelRect.h"
#include "platform/linux/wayland/beneath/CoveredRun.h"
#include "platform/linux/wayland/beneath/Pixels.h"

namespace vesk::wayland::beneath {

using picture::PixelRect;

/// Paints the runs, all of them within `area`, as the pixels around the area suggest: each by the
/// nearest one on every side, the nearer the more. A side at the edge of the picture or within one
/// of the areas that are `unknown` too says nothing.
void fillFromSurroundings(const Pixels& pixels, const PixelRect& area,
                          std::span<const CoveredRun> runs, std::span<const PixelRect> unknown);

}  // namespace vesk::wayland::beneath
