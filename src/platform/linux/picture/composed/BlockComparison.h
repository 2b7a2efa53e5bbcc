#pragma once

#include <cstdint>
#include <vector>

#include "platform/linux/picture/Nv12Image.h"
#include "platform/linux/picture/composed/Origin.h"

namespace vesk::picture::composed {

/// How much a macroblock is like what it is compared with.
enum class Likeness {
  none,
  faded,  ///< it lies between the samples of the colours, which are others there, but not much
  same,   ///< every sample is
};

/// Compares the macroblocks of an image with what was somewhere else in the one before.
///
/// Thread: one at a time. Owns: nothing; both images, of one size, outlive it. Fails: never.
class BlockComparison {
 public:
  BlockComparison(const Nv12Image& before, const Nv12Image& now, const Shift& shift);

  const Shift& shift() const { return shift_; }

  /// Compares macroblocks of a row, from `first` up to `end`, all at once, of which most will be
  /// asked for: line by line it takes a third of the time.
  void readAhead(int row, int first, int end);

  /// None where it would have come from outside of what is seen.
  Likeness likeness(int row, int column) const;

  bool isSame(int row, int column) const { return likeness(row, column) == Likeness::same; }

 private:
  bool comesFromInside(int row, int column) const;
  bool isReadAhead(int row, int column) const {
    return row == ahead_.row && column >= ahead_.first && column < ahead_.end;
  }
  Likeness fadingAhead(std::size_t place) const;
  Likeness colourLikeness(int row, int column) const;

  /// What has been read ahead: per macroblock, not 0 where some bits differ.
  struct Ahead {
    int row = -1;
    int first = 0;
    int end = 0;
    std::vector<std::uint64_t> luma;
    std::vector<std::uint64_t> chroma;  ///< which lies on other samples
    /// Or between them: per column of the macroblocks, the largest difference.
    std::vector<std::uint8_t> largest;
    std::vector<std::uint8_t> came;  ///< one row of samples that lie between others
  };

  const Nv12Image& before_;
  const Nv12Image& now_;
  Shift shift_;
  Origin luma_;
  Origin chroma_;
  Ahead ahead_;
};

}  // namespace vesk::picture::composed
