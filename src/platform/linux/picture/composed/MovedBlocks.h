#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "platform/linux/picture/Nv12Image.h"

namespace vesk::picture::composed {

/// How far something has moved in a picture, in pixels.
struct Shift {
  int right = 0;
  int down = 0;
  bool operator==(const Shift&) const = default;
};

/// Macroblocks that look in a picture as what was so far away from them did in the picture before.
struct MovedBlocks {
  int across = 0;                   ///< macroblocks in a row of the picture
  std::vector<std::uint8_t> marks;  ///< per macroblock, row by row: non-zero where it has moved
  Shift shift;

  int down() const { return across > 0 ? static_cast<int>(marks.size()) / across : 0; }
  bool isMoved(int row, int column) const {
    const int at = row * across + column;
    return marks[static_cast<std::size_t>(at)] != 0;
  }
};

/// The farthest that a stream of a level (ten times its name) lets anything move, to either side
/// and up or down. The level limits it only upwards and downwards, but a stream that tells of its
/// longest vector names one length for both.
constexpr int farthestShift(int level) {
  if (level >= 31) return 511;
  if (level >= 21) return 255;
  return level >= 11 ? 127 : 63;
}

/// Whether the macroblock that moved there came, whole, from inside the coded picture: `across` and
/// `down` macroblocks.
constexpr bool comesFromInside(int row, int column, const Shift& shift, int across, int down) {
  const int x = column * macroblockEdge - shift.right;
  const int y = row * macroblockEdge - shift.down;
  return x >= 0 && y >= 0 && x + macroblockEdge <= across * macroblockEdge &&
         y + macroblockEdge <= down * macroblockEdge;
}

}  // namespace vesk::picture::composed
