#pragma once

#include <cstdint>
#include <optional>

#include "platform/Geometry.h"

namespace vesk {

using DisplayId = std::uint32_t;

/// Thread: any. Owns: nothing. Fails: by value; an unknown display has empty bounds and no mode.
/// Every answer is the state at the moment of the call.
class Displays {
 public:
  virtual ~Displays() = default;

  /// The display that the person's session has as its main one; 0 when there is none.
  virtual DisplayId mainDisplay() = 0;

  /// Where the display lies in global coordinates, in points.
  virtual Rect bounds(DisplayId display) = 0;

  /// The display's size as the window system counts it; on a scaled display these are points.
  virtual PixelSize pixels(DisplayId display) = 0;

  /// The panel's own pixels in its current mode, or nothing when the mode cannot be learnt.
  virtual std::optional<PixelSize> modePixels(DisplayId display) = 0;
};

}  // namespace vesk
