#pragma once

#include <xcb/xcb.h>

#include <map>
#include <vector>

#include "platform/linux/x11/beneath/CompositingManager.h"
#include "platform/linux/x11/beneath/StackedWindow.h"
#include "platform/linux/x11/server/Connection.h"

namespace vesk::x11::beneath {

/// How much of the frames that a compositing manager puts around windows is shown, and how much of
/// that the server keeps. A frame is asked for it once, and again when its size has changed.
///
/// Thread: one at a time. Owns: nothing; the connection outlives it. Fails: as a frame that is
/// shown and kept as a whole.
class FrameGeometry {
 public:
  explicit FrameGeometry(const server::Connection& connection) : connection_(connection) {}

  /// Sets what is shown and kept of each window. May wait for the server.
  void measure(std::vector<StackedWindow>& windows, const CompositingManager& manager);

 private:
  /// Within the frame.
  struct Known {
    PixelRect frame;  ///< at its own corner
    PixelRect shown;
    PixelRect kept;
  };

  Known inspect(const StackedWindow& window, const CompositingManager& manager) const;
  xcb_window_t clientIn(xcb_window_t frame, const CompositingManager& manager) const;

  const server::Connection& connection_;
  std::map<xcb_window_t, Known> known_;
};

}  // namespace vesk::x11::beneath
