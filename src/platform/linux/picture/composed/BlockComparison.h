#pragma once

#include "platform/linux/picture/Nv12Image.h"
#include "platform/linux/picture/composed/Origin.h"

namespace vesk::picture::composed {

/// Compares the macroblocks of an image with what was somewhere else in the one before. They are
/// the same only if every sample is, or else small errors would grow with each picture of a scroll.
///
/// Thread: one at a time. Owns: nothing; both images, of one size, outlive it. Fails: never.
class BlockComparison {
 public:
  BlockComparison(const Nv12Image& before, const Nv12Image& now, const Shift& shift);

  const Shift& shift() const { return shift_; }

  /// Never where it would have come from outside of what is seen.
  bool isSame(int row, int column) const;

 private:
  const Nv12Image& before_;
  const Nv12Image& now_;
  Shift shift_;
  Origin luma_;
  Origin chroma_;
};

}  // namespace vesk::picture::composed
