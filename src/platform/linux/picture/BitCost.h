#pragma once

#include <array>
#include <cstddef>

#include "platform/linux/picture/QuantiserRange.h"

namespace vesk::picture {

/// How many bits macroblocks of one kind take at each quantiser, learnt as the stream goes on.
///
/// It begins with the curve of letters: half a bit for each doubling of their power beyond that of
/// the quantiser's step. What is learnt at one quantiser bends the curve there, and moves the rest
/// of it the less, the more bits are taken there: what strokes leave of themselves at the coarsest
/// quantisers says little about the fine ones.
///
/// Thread: one at a time. Fails: never.
class BitCost {
 public:
  static constexpr int finestQuantiser = QuantiserRange::finestOfAll;
  static constexpr int worstQuantiser = QuantiserRange::worstOfAll;

  /// Fewer say little about the others, and nothing is learnt of them.
  static constexpr std::size_t tellingNumber = 16;

  /// Bits of a macroblock for each doubling, and what part of the truth the last measurement is.
  BitCost(double density, double weight);

  double of(std::size_t macroblocks, int quantiser) const;

  /// The finest quantiser, or the worst, at which so many macroblocks take no more than `bits`.
  int quantiserFor(std::size_t macroblocks, double bits, const QuantiserRange& range) const;

  /// Told how many bits some took.
  void learn(std::size_t macroblocks, int quantiser, double bits);

  /// The same of macroblocks that look as those before did: the curve bends there alone.
  void learnAgain(std::size_t macroblocks, int quantiser, double bits);

  /// What was learnt last may not hold any more: it is tried out sooner.
  void doubt();

 private:
  static constexpr std::size_t count = worstQuantiser - finestQuantiser + 1;

  double measured(std::size_t macroblocks, int quantiser, double bits) const;
  double shareOf(std::size_t place, std::size_t measured) const;
  void keepFalling(std::size_t from);

  std::array<double, count> each_{};  ///< bits of a macroblock, from the finest quantiser on
  double weight_;
  bool hasLearnt_ = false;
  std::size_t last_ = 0;  ///< where it was measured
};

}  // namespace vesk::picture
