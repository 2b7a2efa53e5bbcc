#pragma once

#include <cstddef>
#include <optional>
#include <vector>

#include "platform/linux/picture/Nv12Image.h"
#include "platform/linux/picture/composed/MovedBlocks.h"

namespace vesk::picture::composed {

/// What has become of the macroblocks that changed from one image to the next.
struct FoundMove {
  MovedBlocks moved;                ///< those that come from elsewhere in the image before
  std::vector<std::uint8_t> left;   ///< per macroblock: non-zero where it is like nothing there
  std::vector<std::uint8_t> faded;  ///< per macroblock, if any may be: how often, from now on
  std::size_t movedCount = 0;
  std::size_t leftCount = 0;
};

struct MoveLimits {
  int farthest = 0;          ///< straight up, down or sideways
  std::size_t mostLeft = 0;  ///< with more macroblocks left, a move is of no use
  /// Per macroblock of the picture before: how often its colours have faded since it was encoded.
  /// Nothing: they may not fade.
  const std::vector<std::uint8_t>* faded = nullptr;
};

/// Fewer macroblocks are not worth a search.
inline constexpr std::size_t fewestMoved = 40;

/// Finds out whether much of what differs from the image before is still in it, in another place: a
/// page was scrolled, or a window dragged. One distance is found, of a window that was dragged
/// aslant only below a hundred pixels.
///
/// Colours have half as many samples as there are rows and columns, so what moves an odd distance
/// has those that a decoder finds between them. Unless they are the same, they fade: not much, and
/// only a few times until the macroblock is encoded again. The ones that have faded are to be made
/// better once there is time.
///
/// Both images are of one stream and one size. The one before must be the one of which the picture
/// was made that a decoder has; whoever asks holds it until then, so that nobody paints on it. Each
/// macroblock that is said to have moved was compared pixel by pixel, and comes from inside the
/// picture. One that has changed, and neither has moved nor is left, is what it was all the same.
///
/// An image without a move takes a few probes in it, so that video costs hardly more for this.
std::optional<FoundMove> findMove(const Nv12Image& before, const Nv12Image& now,
                                  const MoveLimits& limits);

}  // namespace vesk::picture::composed
