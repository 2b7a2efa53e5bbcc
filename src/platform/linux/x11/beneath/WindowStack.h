#pragma once

#include <xcb/xcb.h>

#include <cstdint>
#include <optional>
#include <set>
#include <utility>
#include <vector>

#include "platform/linux/x11/beneath/CompositingManager.h"
#include "platform/linux/x11/beneath/FrameGeometry.h"
#include "platform/linux/x11/beneath/OwnWindows.h"
#include "platform/linux/x11/beneath/StackedWindow.h"
#include "platform/linux/x11/server/Connection.h"

namespace vesk::x11::beneath {

/// The windows on the root window from bottom to top, read anew only once the server has told of a
/// change.
///
/// Thread: one at a time. Owns: nothing; the connection and the registry outlive it. Fails: as no
/// windows, when the server is gone.
class WindowStack {
 public:
  WindowStack(const server::Connection& connection, const OwnWindows& ownWindows);

  /// Asks to be told of changes. The connection's owner hands on every event that comes.
  void watch();

  /// The window on the root window of whose change the event tells, if it does.
  std::optional<xcb_window_t> handle(const xcb_generic_event_t& event);

  /// Whether something has changed since the last reading.
  bool isStale() const { return stale_; }

  /// Reads everything anew; waits for the server.
  void read();

  const std::vector<StackedWindow>& windows() const { return windows_; }

  /// Whether own windows exist, shown or not.
  bool expectsOwnWindows() const;

  /// Whether somebody blends translucent windows and casts shadows.
  bool isComposited() const { return composited_; }

  /// The window manager, if it is who composes.
  const CompositingManager& manager() const { return manager_; }

  /// The windows whose contents may lie elsewhere in the server since this was asked last.
  std::set<xcb_window_t> takeReplaced() { return std::exchange(replaced_, {}); }

  /// The windows that are gone since this was asked last. The server may have given the number of
  /// one to another window since.
  std::set<xcb_window_t> takeDestroyed() { return std::exchange(destroyed_, {}); }

 private:
  bool isOurs(xcb_window_t window) const;
  bool tellsOfManager(const xcb_generic_event_t& event) const;
  std::optional<xcb_window_t> changedWindow(const xcb_generic_event_t& event) const;
  std::vector<xcb_window_t> childrenOfRoot() const;
  std::vector<StackedWindow> ownAmong(const std::vector<xcb_window_t>& children) const;

  const server::Connection& connection_;
  const OwnWindows& ownWindows_;
  xcb_atom_t compositor_ = XCB_NONE;
  xcb_atom_t managerCheck_ = XCB_NONE;
  CompositingManager manager_;
  FrameGeometry frames_;
  std::uint8_t fixesEvent_ = 0;
  std::uint8_t shapeEvent_ = 0;
  bool stale_ = true;
  bool managerStale_ = true;
  bool composited_ = false;
  std::vector<StackedWindow> windows_;
  std::set<xcb_window_t> replaced_;
  std::set<xcb_window_t> destroyed_;
};

}  // namespace vesk::x11::beneath
