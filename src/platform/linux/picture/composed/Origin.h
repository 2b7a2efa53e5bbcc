#pragma once

#include <cstddef>
#include <cstdint>

#include "platform/linux/picture/composed/MovedBlocks.h"

namespace vesk::picture::composed {

/// Where the samples of a plane come from, in bytes as seen from where they have moved to.
struct Origin {
  std::ptrdiff_t first = 0;
  /// To the other one of two that a sample lies between; nought: it does not.
  std::ptrdiff_t right = 0;
  std::ptrdiff_t below = 0;  ///< the same, of two rows

  bool isBetween() const { return right != 0 || below != 0; }
};

Origin lumaOrigin(const Shift& shift, std::ptrdiff_t stride);

/// Of interleaved chroma. What moves an odd distance comes from between its samples.
Origin chromaOrigin(const Shift& shift, std::ptrdiff_t stride);

/// The samples that come to `place`, as a decoder has them.
void fetch(const std::uint8_t* place, const Origin& origin, int count, std::uint8_t* to);

}  // namespace vesk::picture::composed
