#pragma once

#include <cstdint>

#include "platform/Clock.h"
#include "platform/Geometry.h"

namespace vesk {

/// A press of a mouse button, with its place in a series of clicks. `button` is the viewer's own
/// number, not the button that it acts as.
struct ButtonPress {
  HostTime time;
  Point point;
  std::int64_t button = -1;
  std::int64_t count = 0;
};

/// The count for a press at `time`: one more than the last press's when it is the same button, less
/// than half a second later and less than five points away on each axis alone; 1 otherwise.
std::int64_t clickCount(const ButtonPress& last, HostTime time, Point point, std::int64_t button);

}  // namespace vesk
