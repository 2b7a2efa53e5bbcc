#pragma once

#include <QSocketNotifier>
#include <deque>
#include <mutex>
#include <vector>

#include "platform/Descriptor.h"
#include "platform/MainQueue.h"

namespace vesk::loop {

/// The main queue within Qt's event loop: two descriptors wake the loop, one for tasks and one for
/// delays. Qt itself is never called from another thread, and an idle queue has no timer running.
///
/// Thread: made and destroyed on the main thread, after the application object; see `MainQueue`.
class QtMainQueue final : public MainQueue {
 public:
  QtMainQueue();
  ~QtMainQueue() override = default;
  QtMainQueue(const QtMainQueue&) = delete;
  QtMainQueue& operator=(const QtMainQueue&) = delete;

  void async(Task task) override;
  void after(std::chrono::nanoseconds delay, Task task) override;

 private:
  struct Delayed {
    std::chrono::steady_clock::time_point due;
    Task task;
  };

  void wake() const;
  void armTimer() const;
  void submitDueTasks();
  void runTasks();

  std::mutex mutex_;
  std::deque<Task> tasks_;
  std::vector<Delayed> delayed_;  ///< in the order in which they are due
  bool running_ = false;  ///< main thread only: a task is running, perhaps a modal loop in it

  Descriptor taskSignal_;
  Descriptor timer_;
  QSocketNotifier taskNotifier_;
  QSocketNotifier timerNotifier_;
};

}  // namespace vesk::loop
