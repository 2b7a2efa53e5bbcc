#include "platform/linux/picture/ChangeCost.h"

#include <algorithm>
#include <cmath>

namespace vesk::picture {

double ChangeCost::leftOut(std::size_t macroblocks, double reference, int quantiser,
                           const BitCost& whole) {
  if (quantiser >= reference) return 0;
  const int coarser = static_cast<int>(std::ceil(reference));
  const double all = whole.of(macroblocks, quantiser) - whole.of(macroblocks, coarser);
  return all * (reference - quantiser) / (coarser - quantiser);
}

double ChangeCost::learn(std::size_t macroblocks, double reference, int quantiser,
                         const BitCost& whole, double bits) {
  const double finer = leftOut(macroblocks, reference, quantiser, whole);
  double paid = 0;
  if (finer > 0) {
    // Small steps that cost nothing say little of the large one that is to come.
    constexpr double rise = 0.5, fall = 0.1, most = 1.5;
    const double measured = std::clamp((bits - each(macroblocks, quantiser)) / finer, 0.0, most);
    moved_ += (measured - moved_) * (measured > moved_ ? rise : fall);
    paid = std::min(measured, 1.0);
  }
  fresh_.learn(macroblocks, quantiser, std::max(bits - paid * finer, 0.0));
  // What comes anew is as coarse as it was encoded.
  constexpr double replaced = 0.03;
  return reference + (quantiser - reference) * (quantiser < reference ? paid : replaced);
}

}  // namespace vesk::picture
