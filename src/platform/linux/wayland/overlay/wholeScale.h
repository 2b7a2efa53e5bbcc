#pragma once

#include <cstdint>
#include <optional>

#include "platform/linux/wayland/server/OutputList.h"

namespace vesk::wayland::overlay {

/// How many pixels a point has on each side, where they are whole: there what a surface shows comes
/// out on the screen pixel by pixel. Nothing where the person has chosen a fraction. Thread: any.
std::optional<std::int32_t> wholeScale(const server::Output& output);

}  // namespace vesk::wayland::overlay
