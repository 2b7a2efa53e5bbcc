#pragma once

#include <xcb/damage.h>
#include <xcb/xfixes.h>

#include <cstddef>
#include <vector>

#include "platform/linux/x11/beneath/Underneath.h"
#include "platform/linux/x11/server/Connection.h"
#include "platform/linux/x11/server/Randr.h"
#include "platform/linux/x11/server/rectangles.h"

namespace vesk::x11::screen {

/// What is drawn on a monitor, whichever window shows there.
///
/// Thread: one at a time. Owns: the server's watch, for as long as the connection stands; the
/// connection outlives it, and its owner hands on every event. Fails: as nothing drawn, once the
/// server is gone.
class ScreenDamage {
 public:
  /// Above so many rectangles their bounding box is cheaper to fetch than they are to sort out.
  static constexpr std::size_t mostRectangles = 24;

  /// The connection has asked for the versions of Damage and XFixes.
  ScreenDamage(const server::Connection& connection, const server::Monitor& monitor);

  /// Whether the event tells that something was drawn.
  bool handle(const xcb_generic_event_t& event);

  /// Whether something was drawn since it was taken last, or it never was.
  bool isWaiting() const { return everything_ || drawn_; }

  /// Where that was, in the monitor; everything at the first time. What own windows have drawn is
  /// not to be seen, where `leftOut` leaves them out. Waits for the server.
  std::vector<PixelRect> take(const beneath::Underneath* leftOut);

 private:
  std::vector<PixelRect> rectanglesOf(const xcb_xfixes_fetch_region_reply_t& region) const;

  const server::Connection& connection_;
  server::Monitor monitor_;
  xcb_damage_damage_t damage_;
  xcb_xfixes_region_t region_;
  std::uint8_t event_;
  bool drawn_ = false;
  bool everything_ = true;
};

}  // namespace vesk::x11::screen
