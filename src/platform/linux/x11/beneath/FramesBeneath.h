#pragma once

#include <vector>

#include "platform/linux/x11/beneath/StackedWindow.h"
#include "platform/linux/x11/beneath/WindowsBeneath.h"

namespace vesk::x11::beneath {

/// The frames of the windows beneath own ones, as far as only a compositor has them: their colours
/// are followed where the screen shows them.
///
/// Thread: one at a time. Owns: nothing; what is given to the constructor outlives it. Fails: as
/// frames that stay as they are.
class FramesBeneath {
 public:
  /// `area` is the monitor's in the root window.
  FramesBeneath(const server::Connection& connection, const WindowsBeneath& beneath,
                const PixelRect& area)
      : connection_(connection), beneath_(beneath), area_(area) {}

  /// Finds out where they are in sight, given all windows from bottom to top and what own ones
  /// cover, and looks there. Whether a colour is another than before. Waits for the server.
  bool look(const std::vector<StackedWindow>& windows, const std::vector<PixelRect>& covered);

  /// Where, of what is covered, a frame looks different because of what was `drawn` in sight. Waits
  /// for the server if some was drawn on a frame.
  std::vector<PixelRect> takeDamage(const std::vector<PixelRect>& drawn) const;

 private:
  const server::Connection& connection_;
  const WindowsBeneath& beneath_;
  PixelRect area_;
  std::vector<PixelRect> covered_;
};

}  // namespace vesk::x11::beneath
