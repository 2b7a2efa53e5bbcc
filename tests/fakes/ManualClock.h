#pragma once

#include <mutex>

#include "platform/Clock.h"

namespace vesk::fakes {

/// Time that stands still until a test moves it. A sleep moves it by its own length and returns at
/// once. Thread: any.
class ManualClock final : public Clock {
 public:
  HostTime hostTime() const override {
    const std::lock_guard lock(mutex_);
    return now_;
  }
  void sleep(std::chrono::nanoseconds duration) override { advance(duration); }
  void advance(std::chrono::nanoseconds duration) {
    const std::lock_guard lock(mutex_);
    now_ += duration;
  }

 private:
  mutable std::mutex mutex_;
  HostTime now_{std::chrono::hours(1)};
};

}  // namespace vesk::fakes
