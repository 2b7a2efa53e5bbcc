#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace vesk::picture::composed {

/// Some macroblocks beside one another, counted in macroblocks.
struct Run {
  int row = 0;
  int first = 0;  ///< from the left
  int count = 0;

  int end() const { return first + count; }
  bool operator==(const Run&) const = default;
};

/// The macroblocks of a picture that are not `unchanged`, in raster order. A gap between two runs
/// that costs less than another slice is closed: such a run holds some that are unchanged.
std::vector<Run> changedRuns(std::span<const std::uint8_t> unchanged, int across);

/// How many runs a picture may be put together from, if it may have so many slices: each may come
/// with another one for what is skipped before it. From some number on it saves nothing.
constexpr std::size_t mostRuns(std::size_t slices) {
  constexpr std::size_t worthwhile = 60;
  return std::min(worthwhile, slices > 1 ? (slices - 1) / 2 : 0);
}

/// How wide what is encoded by itself can be, in a picture of that width: few widths, since each
/// has an encoder. Rising; the last one is the picture's.
std::vector<int> windowWidths(int across);

/// Windows of those widths over runs in raster order, which cover them all and do not overlap. Runs
/// of a row that are too close to have one each share one.
std::vector<Run> windowsOver(std::span<const Run> runs, int across);

/// The same over all that are not `unchanged`, beside others that move and must be in no window:
/// not 0 in `moved`.
std::vector<Run> windowsBeside(std::span<const std::uint8_t> unchanged,
                               std::span<const std::uint8_t> moved, int across);

/// Which of some windows, by their places in the list, are encoded together: those that lie one
/// below the other and are narrow, few or some of them at once. Each is in one stack.
std::vector<std::vector<std::size_t>> stacksOf(std::span<const Run> windows);

}  // namespace vesk::picture::composed
