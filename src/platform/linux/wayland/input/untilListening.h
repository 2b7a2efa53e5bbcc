#pragma once

#include <chrono>

namespace vesk::wayland::input {

/// In a seat that had no such device, programs learn of the first one only now, and nobody tells
/// when they have begun to listen to it: what it says before is lost to them.
inline constexpr std::chrono::milliseconds untilListening{150};

}  // namespace vesk::wayland::input
