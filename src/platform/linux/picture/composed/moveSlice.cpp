#include "platform/linux/picture/composed/moveSlice.h"

namespace vesk::picture::composed {
namespace {

/// A macroblock with one vector for all of it.
constexpr std::uint32_t oneVector = 0;

/// Of the coded macroblocks that is what says that nothing is left over.
constexpr std::uint32_t noResidual = 0;

/// Vectors count quarters of a pixel.
constexpr int quarters = 4;

/// What the macroblocks around one in its slice foretell. There are but two vectors, none and that
/// of the move, so that of each it need only be known whether it has moved.
class Neighbours {
 public:
  Neighbours(const MovedBlocks& moved, int first, int at) {
    const int across = moved.across;
    const int column = at % across;
    const auto look = [&](int place, bool exists) {
      if (!exists || place < first) return absent;
      return moved.marks[static_cast<std::size_t>(place)] != 0 ? hasMoved : stays;
    };
    left_ = look(at - 1, column > 0);
    above_ = look(at - across, true);
    beyond_ = look(at - across + 1, column + 1 < across);
    if (beyond_ == absent) beyond_ = look(at - across - 1, column > 0);
  }

  /// What a skipped macroblock does.
  bool skipMoves() const { return left_ == hasMoved && above_ == hasMoved; }

  /// What a vector is written as the difference from: the middle one of three, in which an absent
  /// one counts as none, or the only one that there is.
  bool foretellsMove() const {
    const auto count = [&](Look look) {
      return (left_ == look ? 1 : 0) + (above_ == look ? 1 : 0) + (beyond_ == look ? 1 : 0);
    };
    return count(hasMoved) >= (count(absent) == 2 ? 1 : 2);
  }

 private:
  enum Look : std::uint8_t { absent, stays, hasMoved };

  Look left_;
  Look above_;
  Look beyond_;
};

}  // namespace

void writeMoveSlice(h264::BitWriter& writer, const MovedBlocks& moved, int first, int last) {
  std::uint32_t skipped = 0;
  for (int at = first; at <= last; ++at) {
    const bool moves = moved.marks[static_cast<std::size_t>(at)] != 0;
    const Neighbours neighbours(moved, first, at);
    if (moves == neighbours.skipMoves()) {
      ++skipped;
      continue;
    }
    // The vector points to where the macroblock has come from.
    const int sign = (neighbours.foretellsMove() ? 1 : 0) - (moves ? 1 : 0);
    writer.ue(skipped);
    writer.ue(oneVector);
    writer.se(sign * quarters * moved.shift.right);
    writer.se(sign * quarters * moved.shift.down);
    writer.ue(noResidual);
    skipped = 0;
  }
  if (skipped > 0) writer.ue(skipped);
}

}  // namespace vesk::picture::composed
