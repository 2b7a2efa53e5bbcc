#pragma once

#include <cstdint>

namespace vesk::wayland::input {

/// A key by the number that the kernel gives it, which is the one that clients are told.
using Key = std::uint32_t;

}  // namespace vesk::wayland::input
