#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <vector>

#include "platform/linux/picture/Nv12Image.h"
#include "platform/linux/picture/composed/MovedBlocks.h"

namespace vesk::picture::composed {

/// A few pixels of an image that are worth being looked for in the one before: they are no flat
/// ground, and were not there already.
///
/// Thread: one at a time. Owns: nothing; both images outlive it. Fails: never.
class Pattern {
 public:
  static constexpr int width = 32;
  static constexpr int height = 8;

  /// The one with the most edges of those in a macroblock, if it is worth it.
  static std::optional<Pattern> in(const Nv12Image& before, const Nv12Image& now, int row,
                                   int column);

  /// How far it has moved if it was in the image before, at most `farthest` straight up, down or
  /// sideways, and less in other directions. Nothing where it was in too many places to tell.
  std::vector<Shift> shifts(int farthest) const;

 private:
  Pattern(const Nv12Image& before, const Nv12Image& now, int x, int y);

  int edges() const;
  bool isUpright() const;
  void chooseAnchors();
  bool wasAt(int x, int y) const;
  bool mayHaveBeenIn(const std::uint8_t* row, int count) const;

  const Nv12Image* before_;
  const Nv12Image* now_;
  int x_;
  int y_;
  static constexpr std::size_t anchorCount = 8;
  std::array<int, anchorCount> anchors_{};  ///< columns of its first row on both sides of edges
};

}  // namespace vesk::picture::composed
