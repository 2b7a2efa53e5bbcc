#include "platform/linux/picture/BitCost.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace vesk::picture {
namespace {

/// What even an empty macroblock takes.
constexpr double leastEach = 0.5;

std::size_t placeOf(int quantiser) {
  return static_cast<std::size_t>(
      std::clamp(quantiser, BitCost::finestQuantiser, BitCost::worstQuantiser) -
      BitCost::finestQuantiser);
}

/// Doublings of the power of letters beyond a quantiser's step, whose size doubles every six.
double doublings(int quantiser) {
  constexpr double strength = 200;
  const double step = std::exp2((quantiser - 4) / 6.0);
  const double all = std::log2(1 + strength * strength / (step * step)) / 2;
  // Beyond the standard's range less and less is left of them.
  constexpr double left = 0.6;
  return all * std::pow(left, std::max(quantiser - QuantiserRange::worstOfStandard, 0));
}

}  // namespace

BitCost::BitCost(double density, double weight) : weight_(weight) {
  for (int quantiser = finestQuantiser; quantiser <= worstQuantiser; ++quantiser) {
    each_[placeOf(quantiser)] = density * doublings(quantiser);
  }
}

double BitCost::of(std::size_t macroblocks, int quantiser) const {
  return (leastEach + each_[placeOf(quantiser)]) * static_cast<double>(macroblocks);
}

int BitCost::quantiserFor(std::size_t macroblocks, double bits, const QuantiserRange& range) const {
  int quantiser = range.finest;
  while (quantiser < range.worst && of(macroblocks, quantiser) > bits) ++quantiser;
  return quantiser;
}

/// By how many times what was taken exceeds what was expected.
double BitCost::measured(std::size_t macroblocks, int quantiser, double bits) const {
  const double each = std::max(bits / static_cast<double>(macroblocks) - leastEach, leastEach);
  return each / each_[placeOf(quantiser)];
}

void BitCost::learn(std::size_t macroblocks, int quantiser, double bits) {
  if (macroblocks < tellingNumber) return;
  const double factor = std::pow(measured(macroblocks, quantiser, bits), hasLearnt_ ? weight_ : 1);
  const double here = each_[placeOf(quantiser)];
  for (std::size_t i = 0; i < count; ++i) {
    const double distance =
        std::abs(static_cast<double>(i) - static_cast<double>(placeOf(quantiser)));
    const double near = std::max(1 - distance / 12, 0.3);
    each_[i] *= std::pow(factor, hasLearnt_ ? std::min(std::sqrt(here / each_[i]), near) : 1);
  }
  hasLearnt_ = true;
  last_ = placeOf(quantiser);
  keepFalling(last_);
}

void BitCost::learnAgain(std::size_t macroblocks, int quantiser, double bits) {
  if (!hasLearnt_) return learn(macroblocks, quantiser, bits);
  if (macroblocks < tellingNumber) return;
  const double factor = measured(macroblocks, quantiser, bits);
  for (std::size_t i = 0; i < count; ++i) {
    each_[i] *= std::pow(factor, shareOf(i, placeOf(quantiser)));
  }
  last_ = placeOf(quantiser);
  keepFalling(last_);
}

/// The curve keeps to the measurement before where it can, and what is beyond the last one, seen
/// from there, moves with it.
double BitCost::shareOf(std::size_t place, std::size_t measured) const {
  const auto distance = [](std::size_t to, std::size_t from) {
    return static_cast<double>(to) - static_cast<double>(from);
  };
  constexpr double telling = 3;
  constexpr double reach = 10;
  const double between = distance(measured, last_);
  if (std::abs(between) >= telling) {
    return std::clamp(distance(place, last_) / between, 0.0, 1.0);
  }
  return std::max(1 - std::abs(distance(place, measured)) / reach, 0.0);
}

void BitCost::doubt() {
  for (double& each : each_) each *= 0.9;
}

/// What is certain at one place bounds the others: coarser takes less.
void BitCost::keepFalling(std::size_t from) {
  constexpr double leastFall = 1.01;
  for (std::size_t i = from; i-- > 0;) each_[i] = std::max(each_[i], each_[i + 1] * leastFall);
  for (std::size_t i = from + 1; i < count; ++i) {
    each_[i] = std::min(each_[i], each_[i - 1] / leastFall);
  }
}

}  // namespace vesk::picture
