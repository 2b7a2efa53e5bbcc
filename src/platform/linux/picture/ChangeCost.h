#pragma once

#include <cstddef>

#include "platform/linux/picture/BitCost.h"

namespace vesk::picture {

/// How many bits pictures amid changes take: what is new in each of them, and, where one is to be
/// finer than the one before, what that has left out of what has only moved.
///
/// Thread: one at a time. Fails: never.
class ChangeCost {
 public:
  explicit ChangeCost(BitCost fresh) : fresh_(fresh) {}

  /// Of every picture at the same quantiser as the one before.
  double each(std::size_t macroblocks, int quantiser) const {
    return fresh_.of(macroblocks, quantiser);
  }

  /// Of one whose reference is as good as this quantiser makes it. `whole` is what the macroblocks
  /// take without a picture before.
  double of(std::size_t macroblocks, double reference, int quantiser, const BitCost& whole) const {
    return each(macroblocks, quantiser) +
           moved_ * leftOut(macroblocks, reference, quantiser, whole);
  }

  /// Told how many bits one took. Returns how good the picture is as a reference: a little finer
  /// than the one before, an encoder finds nothing to be made better, until it is much finer.
  double learn(std::size_t macroblocks, double reference, int quantiser, const BitCost& whole,
               double bits);

  /// What was learnt last may not hold any more: it is tried out sooner.
  void doubt() { fresh_.doubt(); }

 private:
  static double leftOut(std::size_t macroblocks, double reference, int quantiser,
                        const BitCost& whole);

  BitCost fresh_;
  double moved_ = 1;  ///< which part of the macroblocks has only moved
};

}  // namespace vesk::picture
