#pragma once

#include <xcb/xcb.h>

#include <mutex>
#include <vector>

namespace vesk::x11::beneath {

/// The windows that this program has put on the screen, so that the picture can be taken without
/// them. Thread: any.
class OwnWindows {
 public:
  void add(xcb_window_t window);

  /// Harmless when the window is not there.
  void remove(xcb_window_t window);

  /// In the order in which they were added.
  std::vector<xcb_window_t> all() const;

 private:
  mutable std::mutex mutex_;
  std::vector<xcb_window_t> windows_;
};

}  // namespace vesk::x11::beneath
