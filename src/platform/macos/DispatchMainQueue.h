#pragma once

#include "platform/MainQueue.h"

namespace vesk::mac {

/// The main dispatch queue. It is serial and, unlike the run loop, not re-entrant: while a task
/// runs a nested loop, the queue is not drained. Thread, failure: as `MainQueue` says.
class DispatchMainQueue final : public MainQueue {
 public:
  void async(Task task) override;
  void after(std::chrono::nanoseconds delay, Task task) override;
};

}  // namespace vesk::mac
