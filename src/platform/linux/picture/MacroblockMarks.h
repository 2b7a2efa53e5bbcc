#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "platform/linux/picture/Nv12Image.h"
#include "platform/linux/picture/PicturePlan.h"
#include "platform/linux/picture/composed/moveSearch.h"
#include "platform/linux/picture/composed/runs.h"

namespace vesk::picture {

/// What is known of each macroblock of a stream: how coarse it is in the picture before, and
/// whether it is to be encoded in the next one.
///
/// Thread: one at a time. Fails: never.
class MacroblockMarks {
 public:
  /// Of a picture of so many macroblocks.
  MacroblockMarks(int across, int down);

  /// Tells the plan what has changed in the image since the one before, and what of the rest is
  /// coarser than it would bear.
  void compare(const Nv12Image& image, Nv12Image::Sequence before, int bearable,
               PicturePlan::Tick& tick);

  /// The same of a change of which much has only moved.
  PicturePlan::Moved compare(const composed::FoundMove& move);

  /// Marks what is to be encoded, of the image that was compared last. True if some of the rest is
  /// coarser than the picture, and is to stay so.
  bool mark(const PicturePlan::Decision& decision);

  /// The same of a picture in which the rest goes along with what was compared last.
  void mark(const PicturePlan::Decision& decision, const composed::FoundMove& move);

  /// How often the colours of each have faded since it was encoded, by moving.
  const std::vector<std::uint8_t>& faded() const { return faded_; }

  /// Per macroblock: not 0 is left as it is.
  std::vector<std::uint8_t>& unchanged() { return unchanged_; }

  /// What is to be encoded, in pieces.
  std::vector<composed::Run> windows() const;

  /// The same, in none of which is anything that moves.
  std::vector<composed::Run> windows(const composed::FoundMove& move) const;

 private:
  using Counts = std::array<std::size_t, PicturePlan::worstQuantiser + 1>;

  bool isCoarse(std::size_t at) const { return quantisers_[at] >= coarseFrom_; }
  void findChanges(const Nv12Image& image, Nv12Image::Sequence before);
  void recount();

  int across_;
  std::vector<std::uint8_t> unchanged_;
  std::vector<std::uint8_t> same_;        ///< in the image that was compared as in the one before
  std::vector<std::size_t> changed_;      ///< which of them are not
  std::vector<std::uint8_t> quantisers_;  ///< how each was last encoded
  Counts counts_{};                       ///< how many have each of these
  std::vector<std::uint8_t> movedQuantisers_;  ///< the same once the move has been made
  std::vector<std::uint8_t> faded_;
  int coarseFrom_ = 0;           ///< the finest quantiser of what is to be made better
  std::size_t coarse_ = 0;       ///< how many of these there are
  std::size_t movedCoarse_ = 0;  ///< how many of them do not move
};

}  // namespace vesk::picture
