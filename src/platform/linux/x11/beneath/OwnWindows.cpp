#include "platform/linux/x11/beneath/OwnWindows.h"

#include "platform/linux/x11/beneath/Traces.h"

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

void OwnWindows::leave(const StackedWindow& window, Time now) {
  const std::lock_guard lock(mutex_);
  std::erase_if(left_, [&](const Left& left) { return left.at + longestFading <= now; });
  left_.push_back({window, now});
}

std::vector<OwnWindows::Left> OwnWindows::justLeft(Time now) const {
  const std::lock_guard lock(mutex_);
  auto left = left_;
  std::erase_if(left, [&](const Left& each) { return each.at + longestFading <= now; });
  return left;
}

}  // namespace vesk::x11::beneath
