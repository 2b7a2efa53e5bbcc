#include "platform/linux/picture/composed/movedQuantisers.h"

#include <algorithm>

namespace vesk::picture::composed {

std::vector<std::uint8_t> movedQuantisers(const std::vector<std::uint8_t>& quantisers,
                                          const MovedBlocks& moved) {
  std::vector<std::uint8_t> after = quantisers;
  for (int row = 0; row < moved.down(); ++row) {
    for (int column = 0; column < moved.across; ++column) {
      if (!moved.isMoved(row, column)) continue;
      const int x = column * macroblockEdge - moved.shift.right;
      const int y = row * macroblockEdge - moved.shift.down;
      const auto at = [&](int fromX, int fromY) {
        const int place = fromY / macroblockEdge * moved.across + fromX / macroblockEdge;
        return quantisers[static_cast<std::size_t>(place)];
      };
      constexpr int last = macroblockEdge - 1;
      const int place = row * moved.across + column;
      after[static_cast<std::size_t>(place)] =
          std::max({at(x, y), at(x + last, y), at(x, y + last), at(x + last, y + last)});
    }
  }
  return after;
}

}  // namespace vesk::picture::composed
