#pragma once

#include "platform/Geometry.h"

namespace vesk::mac {

/// AppKit counts y upwards from the lower edge, the core downwards from the upper edge: the same
/// rectangle for the other one, in a space of that height. For windows and screens it is the height
/// of the primary screen, in whose corners both spaces begin.
constexpr Rect flipped(const Rect& rect, double height) {
  return {{rect.origin.x, height - rect.origin.y - rect.height}, rect.width, rect.height};
}

}  // namespace vesk::mac
