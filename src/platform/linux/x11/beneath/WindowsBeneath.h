#pragma once

#include <map>
#include <memory>
#include <vector>

#include "platform/linux/x11/beneath/PictureFormats.h"
#include "platform/linux/x11/beneath/WindowContents.h"
#include "platform/linux/x11/beneath/WindowStack.h"

namespace vesk::x11::beneath {

/// The windows of other programs of which something lies where own windows are, each with what it
/// shows there.
///
/// Thread: one at a time. Owns: their contents in the server; what is given to the constructor
/// outlives it. Fails: by leaving out a window whose pixels it cannot read.
class WindowsBeneath {
 public:
  WindowsBeneath(const server::Connection& connection, const PictureFormats& formats)
      : connection_(connection), formats_(formats) {}

  /// Chooses those that meet one of the parts. Whether they, or their order, are others than
  /// before.
  bool choose(WindowStack& stack, const std::vector<PixelRect>& parts);

  const std::vector<WindowContents*>& bottomToTop() const { return bottomToTop_; }

  /// Null for a window that is not among them.
  WindowContents* find(xcb_window_t window) const;

 private:
  const server::Connection& connection_;
  const PictureFormats& formats_;
  std::map<xcb_window_t, std::unique_ptr<WindowContents>> contents_;
  std::vector<WindowContents*> bottomToTop_;
};

}  // namespace vesk::x11::beneath
