#pragma once

#include <xcb/xcb.h>

#include <chrono>
#include <mutex>
#include <vector>

#include "platform/linux/x11/beneath/StackedWindow.h"

namespace vesk::x11::beneath {

/// The windows that this program has put on the screen, so that the picture can be taken without
/// them, and for a moment those that have left it: a compositor may still show them to whoever
/// begins to look only then. Thread: any.
class OwnWindows {
 public:
  using Time = std::chrono::steady_clock::time_point;

  void add(xcb_window_t window);

  /// Harmless when the window is not there.
  void remove(xcb_window_t window);

  /// In the order in which they were added.
  std::vector<xcb_window_t> all() const;

  /// One that has left the screen, as it was shown there.
  struct Left {
    StackedWindow window;
    Time at;
  };

  /// Notes that a window leaves the screen, or is about to.
  void leave(const StackedWindow& window, Time now);

  /// Those that a compositor may still show.
  std::vector<Left> justLeft(Time now) const;

 private:
  mutable std::mutex mutex_;
  std::vector<xcb_window_t> windows_;
  std::vector<Left> left_;
};

}  // namespace vesk::x11::beneath
