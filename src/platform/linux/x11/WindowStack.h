#pragma once

#include <xcb/xcb.h>

#include <cstdint>
#include <set>
#include <utility>
#include <vector>

#include "platform/linux/x11/Connection.h"
#include "platform/linux/x11/OwnWindows.h"
#include "platform/linux/x11/PixelRect.h"

namespace vesk::x11 {

/// A window that is shown directly on the root window.
struct StackedWindow {
  xcb_window_t id = XCB_NONE;
  PixelRect frame;  ///< with its border, in the root window
  std::int32_t border = 0;
  std::uint8_t depth = 0;
  xcb_visualid_t visual = XCB_NONE;
  bool own = false;     ///< it is, or it holds, one of the program's own windows
  bool framed = false;  ///< and a window manager has put a frame around that
  bool operator==(const StackedWindow&) const = default;
};

/// The windows on the root window from bottom to top, read anew only once the server has told of a
/// change.
///
/// Thread: one at a time. Owns: nothing; the connection and the registry outlive it. Fails: as no
/// windows, when the server is gone.
class WindowStack {
 public:
  WindowStack(const Connection& connection, const OwnWindows& ownWindows);

  /// Asks to be told of changes. The connection's owner hands on every event that comes.
  void watch();
  void handle(const xcb_generic_event_t& event);

  /// Whether something has changed since the last reading.
  bool isStale() const { return stale_; }

  /// Reads everything anew; waits for the server.
  void read();

  const std::vector<StackedWindow>& windows() const { return windows_; }

  /// Whether own windows exist, shown or not.
  bool expectsOwnWindows() const;

  /// Whether somebody blends translucent windows and casts shadows.
  bool isComposited() const { return composited_; }

  /// The windows whose contents may lie elsewhere in the server since this was asked last.
  std::set<xcb_window_t> takeReplaced() { return std::exchange(replaced_, {}); }

 private:
  bool isOurs(xcb_window_t window) const;
  void markStale(xcb_window_t window);
  std::vector<xcb_window_t> childrenOfRoot() const;
  std::vector<xcb_window_t> framesOf(const std::vector<xcb_window_t>& windows,
                                     const std::vector<xcb_window_t>& children) const;

  const Connection& connection_;
  const OwnWindows& ownWindows_;
  xcb_atom_t compositor_ = XCB_NONE;
  std::uint8_t fixesEvent_ = 0;
  std::uint8_t shapeEvent_ = 0;
  bool stale_ = true;
  bool composited_ = false;
  std::vector<StackedWindow> windows_;
  std::set<xcb_window_t> replaced_;
};

}  // namespace vesk::x11
