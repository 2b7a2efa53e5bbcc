#pragma once

#include <cstddef>
#include <cstdint>

namespace vesk::wayland::beneath {

/// An output's picture as the person sees it, in memory that somebody else owns: four bytes a
/// pixel, of which the last says nothing.
struct Pixels {
  std::uint8_t* data = nullptr;
  std::ptrdiff_t stride = 0;
  std::int32_t width = 0;
  std::int32_t height = 0;

  std::uint8_t* at(std::int32_t x, std::int32_t y) const {
    return data + y * stride + static_cast<std::ptrdiff_t>(x) * 4;
  }
};

}  // namespace vesk::wayland::beneath
