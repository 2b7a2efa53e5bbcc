#pragma once

#include <optional>
#include <vector>

#include "platform/Geometry.h"
#include "platform/linux/wayland/server/OutputList.h"

namespace vesk::wayland::server {

/// The output that lies there. The place is told in points, the size in points or, by some, in
/// pixels.
std::optional<Output> outputAt(const Rect& told, const std::vector<Output>& outputs);

}  // namespace vesk::wayland::server
