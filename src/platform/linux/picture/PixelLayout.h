#pragma once

namespace vesk::picture {

/// How a screen's pixel of 32 bits holds its colours, blue in the lowest bits.
enum class PixelLayout {
  eightBits,  ///< of each colour
  tenBits,
};

}  // namespace vesk::picture
