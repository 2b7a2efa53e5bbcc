#pragma once

#include <condition_variable>
#include <deque>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <thread>
#include <vector>

#include "fakes/ManualQueues.h"
#include "platform/Clock.h"
#include "support/UnixListener.h"

namespace vesk::testing {

/// Thrown out of a wait of the link's endless loop, to end it at the end of a test.
struct EndOfLoop {};

/// A clock whose every wait lasts until the test lets it go on. Thread: any.
class SteppedClock final : public Clock {
 public:
  /// Tells the time of `time`, which outlives it.
  explicit SteppedClock(const Clock& time) : time_(time) {}

  HostTime hostTime() const override { return time_.hostTime(); }
  void sleep(std::chrono::nanoseconds duration) override;

  /// Waits until somebody sleeps, and tells for how long.
  std::chrono::nanoseconds waitForSleep();

  /// Lets the present sleep, or the next one, be over.
  void wake();

  /// Every sleep from now on throws `EndOfLoop`.
  void end();

 private:
  const Clock& time_;
  std::mutex mutex_;
  std::condition_variable changed_;
  std::deque<std::chrono::nanoseconds> sleeping_;
  int wakes_ = 0;
  bool ended_ = false;
};

/// Queues as in `ManualQueues`, but for the link's own, which gets a real thread so that it can
/// block.
class LinkQueues final : public Queues {
 public:
  explicit LinkQueues(fakes::ManualQueues& manual) : manual_(manual) {}
  ~LinkQueues() override { join(); }
  LinkQueues(const LinkQueues&) = delete;
  LinkQueues& operator=(const LinkQueues&) = delete;

  MainQueue& main() override { return manual_.main(); }
  std::unique_ptr<SerialQueue> makeSerialQueue(const std::string& label) override;
  std::unique_ptr<Timer> makeTimer(SerialQueue& queue, TimerSchedule schedule,
                                   Task handler) override {
    return manual_.makeTimer(queue, schedule, std::move(handler));
  }

  /// Waits for the ends of the loops. `SteppedClock::end` and the ends of the connections come
  /// before.
  void join();

 private:
  fakes::ManualQueues& manual_;
  std::vector<std::thread> threads_;
};

}  // namespace vesk::testing
