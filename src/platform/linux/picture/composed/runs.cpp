#include "platform/linux/picture/composed/runs.h"

#include <algorithm>
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

Run together(const Run& left, const Run& right) {
  return {left.row, left.first, right.end() - left.first};
}

}  // namespace

std::vector<Run> changedRuns(std::span<const std::uint8_t> unchanged, int across) {
  std::vector<Run> runs;
  const auto width = static_cast<std::size_t>(across);
  for (int row = 0; !unchanged.empty(); ++row, unchanged = unchanged.subspan(width)) {
    const auto marks = unchanged.first(width);
    const auto begin = marks.begin();
    for (auto at = std::find(begin, marks.end(), 0); at != marks.end();) {
      const auto end = std::find_if(at, marks.end(), [](auto mark) { return mark != 0; });
      const Run run{row, static_cast<int>(at - begin), static_cast<int>(end - at)};
      if (!runs.empty() && runs.back().row == row && run.first - runs.back().end() <= widestGap) {
        runs.back() = together(runs.back(), run);
      } else {
        runs.push_back(run);
      }
      at = std::find(end, marks.end(), 0);
    }
  }
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

}  // namespace vesk::picture::composed
