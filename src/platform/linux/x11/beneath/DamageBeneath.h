#pragma once

#include <xcb/xfixes.h>

#include <vector>

#include "platform/linux/x11/beneath/WindowsBeneath.h"

namespace vesk::x11::beneath {

/// What is drawn in the windows beneath own ones, where own ones cover it.
///
/// Thread: one at a time. Owns: regions in the server, for as long as the connection stands; what
/// is given to the constructor outlives it. Fails: as nothing drawn, when the server is gone.
class DamageBeneath {
 public:
  /// The connection has asked for the version of XFixes.
  DamageBeneath(const server::Connection& connection, const WindowsBeneath& beneath);

  /// What own windows cover from now on.
  void setCovered(const std::vector<PixelRect>& parts);

  /// Whether the event tells that something was drawn in a window.
  bool isTold(const xcb_generic_event_t& event) const;

  /// Takes in such an event. Whether the window is one of those beneath.
  bool note(const xcb_generic_event_t& event);

  /// Whether something was drawn since it was taken last.
  bool isWaiting() const;

  /// Where that was, in the root window. Waits for the server if something was drawn.
  std::vector<PixelRect> take();

  /// Takes out of a region of the root window what own windows cover.
  void cutOut(xcb_xfixes_region_t region) const;

 private:
  const server::Connection& connection_;
  const WindowsBeneath& beneath_;
  xcb_xfixes_region_t covered_;
  xcb_xfixes_region_t drawn_;
  xcb_xfixes_region_t scratch_;
};

}  // namespace vesk::x11::beneath
