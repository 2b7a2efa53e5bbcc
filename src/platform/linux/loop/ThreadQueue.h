#pragma once

#include <chrono>
#include <memory>
#include <string>
#include <thread>

#include "platform/Clock.h"
#include "platform/SerialQueue.h"
#include "platform/Timer.h"

namespace vesk::loop {

/// A serial queue with a thread of its own, which sleeps while there is nothing to do.
/// Thread, ownership, failure: as `SerialQueue` says.
class ThreadQueue final : public SerialQueue {
 public:
  /// The thread is named after the last part of `label`, as far as the system's limit lets it.
  /// Throws `std::system_error` when the system has no thread to give.
  explicit ThreadQueue(const std::string& label);

  /// Waits for the tasks that were submitted, unless it runs on the queue itself.
  ~ThreadQueue() override;

  ThreadQueue(const ThreadQueue&) = delete;
  ThreadQueue& operator=(const ThreadQueue&) = delete;

  void async(Task task) override;
  void asyncWithin(std::chrono::nanoseconds leeway, Task task) override;
  void sync(const Task& task) override;

  /// A timer whose handler runs on this queue. It may outlive the queue and then fires no more.
  std::unique_ptr<Timer> makeTimer(TimerSchedule schedule, Task handler);

 private:
  class State;
  class QueueTimer;

  std::shared_ptr<State> state_;
  std::thread thread_;
};

}  // namespace vesk::loop
