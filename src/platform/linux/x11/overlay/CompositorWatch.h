#pragma once

#include <xcb/xcb.h>

#include "platform/linux/x11/beneath/CompositingManager.h"
#include "platform/linux/x11/server/Connection.h"

namespace vesk::x11::overlay {

/// What becomes of a window on its way to the screen.
enum class Composition {
  none,      ///< it is shown as it is
  blended,   ///< a compositor shows it, translucent where it has alpha
  bypassed,  ///< there is a compositor, but it has stepped aside for a full-screen program
};

/// Follows the compositor as it comes, goes and steps aside.
///
/// Thread: main. Owns: its wish to be told; the connection outlives it, and its owner, who has
/// asked for what becomes of the root window's children, hands on every event. Fails: as no
/// compositor.
class CompositorWatch {
 public:
  explicit CompositorWatch(const server::Connection& connection);

  /// Wishes to be told no more.
  void end();

  /// Whether windows are shown in another way from now on.
  bool handle(const xcb_generic_event_t& event);

  /// At this moment.
  Composition composition() const;

  /// The window manager, if it is who composes.
  const beneath::CompositingManager& manager() const { return manager_; }

 private:
  void follow(const xcb_generic_event_t& event);
  void set(bool composited, bool aside);

  const server::Connection& connection_;
  beneath::CompositingManager manager_;
  bool composited_ = false;    ///< a compositor runs
  bool aside_ = false;         ///< its picture is off the screen
  bool asideIsGuess_ = false;  ///< nobody has told so far
  int selectionNotify_ = -1;
};

}  // namespace vesk::x11::overlay
