#include "platform/linux/x11/beneath/OwnWindows.h"

namespace vesk::x11::beneath {

void OwnWindows::add(xcb_window_t window) {
  const std::lock_guard lock(mutex_);
  windows_.push_back(window);
}

void OwnWindows::remove(xcb_window_t window) {
  const std::lock_guard lock(mutex_);
  std::erase(windows_, window);
}

std::vector<xcb_window_t> OwnWindows::all() const {
  const std::lock_guard lock(mutex_);
  return windows_;
}

}  // namespace vesk::x11::beneath
