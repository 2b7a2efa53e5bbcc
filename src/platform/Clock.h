#pragma once

#include <chrono>

namespace vesk {

/// Monotonic time of this machine; the presentation times of the video and the click intervals
/// come from it. It has no relation to the calendar.
using HostTime = std::chrono::time_point<std::chrono::steady_clock, std::chrono::nanoseconds>;

/// Thread: any. Owns: nothing. Fails: never.
/// Time and waiting, injected so that tests decide what time it is and how long a wait takes.
class Clock {
 public:
  virtual ~Clock() = default;

  virtual HostTime hostTime() const = 0;

  /// Blocks the calling thread for `duration`.
  virtual void sleep(std::chrono::nanoseconds duration) = 0;
};

}  // namespace vesk
