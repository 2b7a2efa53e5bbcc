#pragma once

#include <chrono>
#include <optional>

#include "platform/linux/x11/beneath/Disturbance.h"

namespace vesk::x11::screen {

/// Whether a picture that windows have spoilt is held back, and how long at most.
///
/// Thread: one at a time. Fails: never.
class HoldBack {
 public:
  using Time = std::chrono::steady_clock::time_point;

  /// Whether the picture that was just taken is to wait for a better one. An own window that may be
  /// in sight is waited for however long that takes.
  bool isToWait(beneath::Disturbance disturbance, Time now);

  /// Whether the last one is.
  bool isOn() const { return since_.has_value(); }

 private:
  std::optional<Time> since_;
};

}  // namespace vesk::x11::screen
