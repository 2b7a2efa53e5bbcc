#pragma once

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

  /// None where it would have come from outside of what is seen.
  Likeness likeness(int row, int column) const;

  bool isSame(int row, int column) const { return likeness(row, column) == Likeness::same; }

 private:
  const Nv12Image& before_;
  const Nv12Image& now_;
  Shift shift_;
  Origin luma_;
  Origin chroma_;
};

}  // namespace vesk::picture::composed
