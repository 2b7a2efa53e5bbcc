#include "platform/linux/x11/screen/HoldBack.h"

namespace vesk::x11::screen {

bool HoldBack::isToWait(beneath::Disturbance disturbance, Time now) {
  // A seam for once is better than a picture that stands while something else never does.
  constexpr std::chrono::milliseconds longestWait{150};
  const bool tooLong = since_ && now - *since_ > longestWait;
  if (disturbance == beneath::Disturbance::none ||
      (disturbance == beneath::Disturbance::seam && tooLong)) {
    since_.reset();
  } else if (!since_) {
    since_ = now;
  }
  return isOn();
}

}  // namespace vesk::x11::screen
