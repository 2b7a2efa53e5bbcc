#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "platform/Geometry.h"
#include "platform/linux/picture/PixelRect.h"

namespace vesk::picture {

/// Scales pictures of four bytes a pixel: each pixel of the target is the average of the area of
/// the source that it covers. So whatever is drawn keeps its share of the picture, a line of one
/// pixel too, at any scale.
///
/// Thread: one at a time. Owns: its tables, and a row.
class AreaScaler {
 public:
  /// Edges of at least one pixel; at most 256 pixels of the source to one of the target.
  AreaScaler(PixelSize source, PixelSize target);

  /// Fills the rows of `area`, which lies in the target, from `to` on, at a distance of `toStride`
  /// bytes.
  void scale(const std::uint8_t* from, int fromStride, const PixelRect& area, std::uint8_t* to,
             int toStride);

 private:
  /// Which pixels of the source a pixel of the target covers along one edge, and by how much.
  struct Share {
    std::int32_t first = 0;
    std::uint32_t weights = 0;  ///< where they begin in the table
    std::int32_t count = 0;
  };
  struct Edge {
    Edge(std::int64_t source, std::int64_t target);

    std::vector<Share> shares;
    std::vector<std::uint16_t> weights;  ///< of one share together `wholeWeight`
  };

  void addRows(const std::uint8_t* from, int fromStride, int row, std::int32_t begin,
               std::int32_t end);
  void addColumns(const PixelRect& area, std::int32_t begin, std::uint8_t* to) const;

  Edge across_;
  Edge down_;
  std::vector<std::uint16_t> row_;  ///< the sum of weighted rows of the source
};

}  // namespace vesk::picture
