#include "platform/linux/picture/composed/Origin.h"

#include <algorithm>

namespace vesk::picture::composed {
namespace {

/// Half as far, towards the picture's origin.
constexpr int half(int distance) { return distance >> 1; }

std::ptrdiff_t rows(int count, std::ptrdiff_t stride) {
  return static_cast<std::ptrdiff_t>(count) * stride;
}

}  // namespace

Origin lumaOrigin(const Shift& shift, std::ptrdiff_t stride) {
  return {.first = rows(-shift.down, stride) - shift.right};
}

Origin chromaOrigin(const Shift& shift, std::ptrdiff_t stride) {
  constexpr std::ptrdiff_t pair = 2;
  return {.first = rows(half(-shift.down), stride) + half(-shift.right) * pair,
          .right = shift.right % 2 != 0 ? pair : 0,
          .below = shift.down % 2 != 0 ? stride : 0};
}

void fetch(const std::uint8_t* place, const Origin& origin, int count, std::uint8_t* to) {
  const std::uint8_t* from = place + origin.first;
  const std::ptrdiff_t right = origin.right;
  const std::ptrdiff_t below = origin.below;
  if (right != 0 && below != 0) {
    for (int i = 0; i < count; ++i) {
      const int sum = from[i] + from[i + right] + from[i + below] + from[i + right + below];
      to[i] = static_cast<std::uint8_t>((sum + 2) / 4);
    }
  } else if (origin.isBetween()) {
    const std::uint8_t* other = from + right + below;
    for (int i = 0; i < count; ++i) to[i] = static_cast<std::uint8_t>((from[i] + other[i] + 1) / 2);
  } else {
    std::copy_n(from, count, to);
  }
}

}  // namespace vesk::picture::composed
