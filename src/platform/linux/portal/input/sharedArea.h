#pragma once

#include <vector>

#include "platform/Geometry.h"
#include "platform/linux/wayland/server/OutputList.h"

namespace vesk::portal::input {

/// Where that which is shared lies, in the points in which it is pointed at, when it is no single
/// output. `told` is what the portal says of it: KDE's counts its size in pixels, and shares all
/// outputs together where there are several.
Rect sharedArea(const Rect& told, const std::vector<wayland::server::Output>& outputs);

}  // namespace vesk::portal::input
