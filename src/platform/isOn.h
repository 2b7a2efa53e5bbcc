#pragma once

#include "platform/Geometry.h"

namespace vesk {

/// Whether a window is on a screen, or on another one that it reaches into: its middle tells. The
/// far edges belong to the neighbours.
inline bool isOn(const Rect& screen, const Rect& window) {
  const double x = window.origin.x + window.width / 2 - screen.origin.x;
  const double y = window.origin.y + window.height / 2 - screen.origin.y;
  return x >= 0 && x < screen.width && y >= 0 && y < screen.height;
}

}  // namespace vesk
