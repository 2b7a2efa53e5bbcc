#pragma once

#include <vector>

#include "platform/linux/x11/server/rectangles.h"

namespace vesk::x11::screen {

/// Rows of a picture, up to the one before `end`.
struct Rows {
  int first = 0;
  int end = 0;
  bool operator==(const Rows&) const = default;
};

/// The rows that rectangles touch, from top to bottom; those that meet are one. Whole rows fit into
/// a shared picture without copying.
std::vector<Rows> wholeRows(const std::vector<PixelRect>& rects);

}  // namespace vesk::x11::screen
