#include "platform/linux/picture/composed/movedQuantisers.h"

#include <algorithm>

namespace vesk::picture::composed {

std::uint8_t largestAtOrigin(const std::vector<std::uint8_t>& values, int across, int row,
                             int column, const Shift& shift) {
  const int x = column * macroblockEdge - shift.right;
  const int y = row * macroblockEdge - shift.down;
  const auto at = [&](int fromX, int fromY) {
    const int place = fromY / macroblockEdge * across + fromX / macroblockEdge;
    return values[static_cast<std::size_t>(place)];
  };
  constexpr int last = macroblockEdge - 1;
  return std::max({at(x, y), at(x + last, y), at(x, y + last), at(x + last, y + last)});
}

std::vector<std::uint8_t> movedQuantisers(const std::vector<std::uint8_t>& quantisers,
                                          const MovedBlocks& moved) {
  std::vector<std::uint8_t> after = quantisers;
  for (int row = 0; row < moved.down(); ++row) {
    for (int column = 0; column < moved.across; ++column) {
      if (!moved.isMoved(row, column)) continue;
      const int place = row * moved.across + column;
      after[static_cast<std::size_t>(place)] =
          largestAtOrigin(quantisers, moved.across, row, column, moved.shift);
    }
  }
  return after;
}

}  // namespace vesk::picture::composed
