#pragma once

#include <cstdint>

namespace vesk::wayland::screen {

/// How the compositor lays an output's pixels out in memory.
struct BufferLayout {
  std::uint32_t format = 0;  ///< a `wl_shm_format`
  std::int32_t width = 0;
  std::int32_t height = 0;
  std::int32_t stride = 0;
  bool operator==(const BufferLayout&) const = default;
};

/// What a panel shows, whichever way it is turned.
struct PanelPixels {
  BufferLayout layout;
  std::uint8_t* data = nullptr;
  bool isUpsideDown = false;  ///< the rows in memory
};

}  // namespace vesk::wayland::screen
