#pragma once

#include <cstdint>

namespace vesk::wayland::beneath {

/// Neighbours in a row of an output's pixels over which something of one alpha lies.
struct CoveredRun {
  std::int32_t x = 0;
  std::int32_t y = 0;
  std::int32_t width = 0;
  const std::uint32_t* laid = nullptr;  ///< premultiplied ARGB; null where it is not known
  std::uint8_t alpha = 255;
};

}  // namespace vesk::wayland::beneath
