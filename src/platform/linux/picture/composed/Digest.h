#pragma once

#include <cstdint>

#include "platform/linux/picture/Planes.h"

namespace vesk::picture::composed {

/// A few bytes that tell pixels from all others without keeping them: of two rectangles of pixels
/// that differ, by as much as one bit, the digests are the same once in 2^128 times. With a seed
/// that nobody knows nobody can choose such pixels either. XXH3 (the library's own description).
class Digest {
 public:
  /// Of nothing.
  Digest() = default;

  /// Of so many pixels of so many rows, an even number.
  Digest(const PlanesView& pixels, int width, int height, std::uint64_t seed);

  bool operator==(const Digest&) const = default;

 private:
  std::uint64_t low_ = 0;
  std::uint64_t high_ = 0;
};

}  // namespace vesk::picture::composed
