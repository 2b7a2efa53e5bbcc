#include "platform/InputGate.h"

#include <algorithm>

namespace vesk {

void InputGate::close() {
  {
    const std::lock_guard lock(mutex_);
    ++closed_;
  }
  changed_.notify_all();
  if (onClose) onClose();
}

void InputGate::open() {
  const std::lock_guard lock(mutex_);
  --closed_;
}

void InputGate::endBy(HostTime deadline) {
  {
    const std::lock_guard lock(mutex_);
    ends_.push_back(deadline);
  }
  changed_.notify_all();
}

void InputGate::ended() {
  {
    const std::lock_guard lock(mutex_);
    if (!ends_.empty()) ends_.pop_front();
    if (!ends_.empty()) return;
  }
  if (onEnded) onEnded();
}

bool InputGate::isOpen() const {
  const std::lock_guard lock(mutex_);
  return isOpenNow();
}

bool InputGate::isOver() const {
  const std::lock_guard lock(mutex_);
  return isOverNow();
}

bool InputGate::isOverNow() const { return !ends_.empty() && clock_.hostTime() >= ends_.front(); }

bool InputGate::sleepUntil(HostTime time) const {
  std::unique_lock lock(mutex_);
  while (isOpenNow()) {
    const auto until = ends_.empty() ? time : std::min(time, ends_.front());
    const auto left = until - clock_.hostTime();
    if (left <= left.zero()) break;
    changed_.wait_for(lock, left);
  }
  return isOpenNow();
}

}  // namespace vesk
