#include "platform/linux/picture/composed/runs.h"

#include <algorithm>
#include <array>
#include <climits>
#include <optional>

namespace vesk::picture::composed {
namespace {

/// Skipped macroblocks within a slice take next to nothing, the beginning of a slice some 80 bits.
constexpr int widestGap = 2;

/// The window of a run that begins no further left than `lowest`. It ends with the run where there
/// is room: a slice that ends with what is encoded may go on with what is skipped.
std::optional<Run> windowOf(const Run& run, int lowest, int across, std::span<const int> widths) {
  const int width = *std::ranges::lower_bound(widths, run.count);
  const int first = std::max(run.end() - width, lowest);
  if (first + width > across) return std::nullopt;
  return Run{run.row, first, width};
}

/// Calls back with each run of those that are wanted, in raster order.
template <typename Wanted, typename Function>
void forEachRun(std::span<const std::uint8_t> marks, int across, Wanted wanted, Function function) {
  const auto width = static_cast<std::size_t>(across);
  for (int row = 0; !marks.empty(); ++row, marks = marks.subspan(width)) {
    const auto begin = marks.begin();
    const auto rowEnd = begin + across;
    for (auto at = std::find_if(begin, rowEnd, wanted); at != rowEnd;) {
      const auto end = std::find_if_not(at, rowEnd, wanted);
      function(Run{row, static_cast<int>(at - begin), static_cast<int>(end - at)});
      at = std::find_if(end, rowEnd, wanted);
    }
  }
}

Run together(const Run& left, const Run& right) {
  return {left.row, left.first, right.end() - left.first};
}

}  // namespace

std::vector<Run> changedRuns(std::span<const std::uint8_t> unchanged, int across) {
  std::vector<Run> runs;
  forEachRun(
      unchanged, across, [](auto mark) { return mark == 0; },
      [&](const Run& run) {
        if (!runs.empty() && runs.back().row == run.row &&
            run.first - runs.back().end() <= widestGap) {
          runs.back() = together(runs.back(), run);
        } else {
          runs.push_back(run);
        }
      });
  return runs;
}

std::vector<int> windowWidths(int across) {
  std::vector<int> widths;
  for (const int width : {1, 2, 8, 32}) {
    if (width < across) widths.push_back(width);
  }
  widths.push_back(across);
  return widths;
}

std::vector<Run> windowsOver(std::span<const Run> runs, int across) {
  const auto widths = windowWidths(across);
  std::vector<Run> windows;
  std::vector<Run> covered;  // what each window is there for
  for (Run run : runs) {
    while (true) {
      const bool beside = !windows.empty() && windows.back().row == run.row;
      const int lowest = beside ? windows.back().end() : 0;
      const auto window =
          run.first >= lowest ? windowOf(run, lowest, across, widths) : std::nullopt;
      if (window) {
        windows.push_back(*window);
        covered.push_back(run);
        break;
      }
      // The whole row has room by itself, so there is one beside it.
      run = together(covered.back(), run);
      windows.pop_back();
      covered.pop_back();
    }
  }
  return windows;
}

std::vector<Run> windowsBeside(std::span<const std::uint8_t> unchanged,
                               std::span<const std::uint8_t> moved, int across) {
  const auto widths = windowWidths(across);
  std::vector<Run> windows;
  const auto isFree = [&](int row, int from, int to) {
    const int before = !windows.empty() && windows.back().row == row ? windows.back().end() : 0;
    for (int i = from; i < to; ++i) {
      const auto at = static_cast<std::size_t>(row) * static_cast<std::size_t>(across) +
                      static_cast<std::size_t>(i);
      if (i < before || i >= across || unchanged[at] == 0 || moved[at] != 0) return false;
    }
    return from >= 0;
  };
  forEachRun(
      unchanged, across, [](auto mark) { return mark == 0; },
      [&](Run run) {
        while (run.count > 0) {
          const int wide = *std::ranges::lower_bound(widths, run.count);
          Run window{run.row, run.end() - wide, wide};
          if (!isFree(run.row, window.first, run.first)) window.first = run.first;
          if (window.first == run.first && !isFree(run.row, run.end(), run.first + wide)) {
            window.count = *(std::ranges::upper_bound(widths, run.count) - 1);
          }
          windows.push_back(window);
          run.count = run.end() - window.end();
          run.first = window.end();
        }
      });
  return windows;
}

std::vector<std::vector<std::size_t>> stacksOf(std::span<const Run> windows) {
  // Few heights, since each has an encoder.
  constexpr std::array heights{std::size_t{8}, std::size_t{2}, std::size_t{1}};
  constexpr std::array widest{2, 8, INT_MAX};
  const auto below = [&](const Run& window) {
    const Run wanted{window.row + 1, window.first, window.count};
    return static_cast<std::size_t>(std::ranges::find(windows, wanted) - windows.begin());
  };
  std::vector<bool> taken(windows.size());
  std::vector<std::vector<std::size_t>> stacks;
  for (std::size_t i = 0; i < windows.size(); ++i) {
    if (taken[i]) continue;
    std::vector<std::size_t> stack;
    for (std::size_t at = i; at < windows.size() && stack.size() < heights.front();
         at = below(windows[at])) {
      stack.push_back(at);
    }
    std::size_t height = 0;
    while (windows[i].count > widest[height] || stack.size() < heights[height]) ++height;
    stack.resize(heights[height]);
    for (const std::size_t at : stack) taken[at] = true;
    stacks.push_back(std::move(stack));
  }
  return stacks;
}

}  // namespace vesk::picture::composed
