#pragma once

#include <thread>

#include "platform/Clock.h"

namespace vesk {

/// Thread: any. The machine's own clock, the same on every platform.
class SystemClock : public Clock {
 public:
  HostTime hostTime() const override { return std::chrono::steady_clock::now(); }
  void sleep(std::chrono::nanoseconds duration) override { std::this_thread::sleep_for(duration); }
};

}  // namespace vesk
