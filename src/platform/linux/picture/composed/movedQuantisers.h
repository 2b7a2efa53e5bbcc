#pragma once

#include <cstdint>
#include <vector>

#include "platform/linux/picture/composed/MovedBlocks.h"

namespace vesk::picture::composed {

/// The largest of the values of the macroblocks, row by row, that one which has moved was cut out
/// of.
std::uint8_t largestAtOrigin(const std::vector<std::uint8_t>& values, int across, int row,
                             int column, const Shift& shift);

/// How coarsely each macroblock is encoded once some have moved: one that has is as coarse as the
/// coarsest of those that it was cut out of. Row by row, before and after; what moved comes from
/// inside the picture.
std::vector<std::uint8_t> movedQuantisers(const std::vector<std::uint8_t>& quantisers,
                                          const MovedBlocks& moved);

}  // namespace vesk::picture::composed
