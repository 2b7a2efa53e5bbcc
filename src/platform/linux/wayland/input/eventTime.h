#pragma once

#include <chrono>
#include <cstdint>

namespace vesk::wayland::input {

/// The time that a stroke is told with, in milliseconds: programs tell double clicks by it.
inline std::uint32_t eventTime() {
  const auto now = std::chrono::steady_clock::now().time_since_epoch();
  return static_cast<std::uint32_t>(
      std::chrono::duration_cast<std::chrono::milliseconds>(now).count());
}

}  // namespace vesk::wayland::input
