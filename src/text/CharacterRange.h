#pragma once

#include <algorithm>
#include <span>

namespace vesk {

/// Code points, the last one included.
struct CharacterRange {
  char32_t first;
  char32_t last;
};

/// Whether one of the ranges, which are sorted, holds the code point.
inline bool isIn(std::span<const CharacterRange> ranges, char32_t codePoint) {
  const auto range =
      std::partition_point(ranges.begin(), ranges.end(),
                           [&](const CharacterRange& each) { return each.last < codePoint; });
  return range != ranges.end() && range->first <= codePoint;
}

}  // namespace vesk
