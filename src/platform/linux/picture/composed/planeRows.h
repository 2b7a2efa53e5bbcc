#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace vesk::picture::composed {

/// Copies so many bytes of each of some rows; strides are bytes.
inline void copyRows(const std::uint8_t* from, std::ptrdiff_t fromStride, std::uint8_t* to,
                     std::ptrdiff_t toStride, std::size_t bytes, int rows) {
  for (int row = 0; row < rows; ++row, from += fromStride, to += toStride) {
    std::memcpy(to, from, bytes);
  }
}

/// Whether so many bytes of each of some rows are the same.
inline bool sameRows(const std::uint8_t* a, std::ptrdiff_t strideA, const std::uint8_t* b,
                     std::ptrdiff_t strideB, std::size_t bytes, int rows) {
  for (int row = 0; row < rows; ++row, a += strideA, b += strideB) {
    if (std::memcmp(a, b, bytes) != 0) return false;
  }
  return true;
}

}  // namespace vesk::picture::composed
