#pragma once

#include <cstdint>

namespace vesk::picture {

/// The quantisers that an encoder can be asked for: H.264's own up to 51, at which the steps are
/// largest, and three beyond, which leave out more and more of what is not a macroblock's mean.
struct QuantiserRange {
  static constexpr int finestOfAll = 11;
  static constexpr int worstOfStandard = 51;
  static constexpr int worstOfAll = 54;

  int finest = finestOfAll;
  int worst = worstOfStandard;

  friend bool operator==(const QuantiserRange&, const QuantiserRange&) = default;
};

/// One encoder has 40 steps of its own numbers in all. Where bits are scarce, those that nobody
/// could afford give way to those beyond.
inline QuantiserRange quantiserRangeFor(std::int64_t macroblocks, std::int64_t bitRate) {
  constexpr std::int64_t plentyForAMacroblock = 100;  // bits per second
  constexpr int finestWhereScarce = 26;
  return bitRate < plentyForAMacroblock * macroblocks
             ? QuantiserRange{finestWhereScarce, QuantiserRange::worstOfAll}
             : QuantiserRange{};
}

}  // namespace vesk::picture
