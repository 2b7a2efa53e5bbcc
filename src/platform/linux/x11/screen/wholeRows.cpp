#include "platform/linux/x11/screen/wholeRows.h"

#include <algorithm>

namespace vesk::x11::screen {

std::vector<Rows> wholeRows(const std::vector<PixelRect>& rects) {
  std::vector<Rows> rows;
  rows.reserve(rects.size());
  for (const auto& rect : rects) rows.push_back({rect.y, rect.y + rect.height});
  std::ranges::sort(rows, {}, &Rows::first);
  std::vector<Rows> merged;
  for (const auto& each : rows) {
    if (!merged.empty() && each.first <= merged.back().end) {
      merged.back().end = std::max(merged.back().end, each.end);
    } else {
      merged.push_back(each);
    }
  }
  return merged;
}

}  // namespace vesk::x11::screen
