#pragma once

#include <chrono>

#include "platform/SerialQueue.h"

namespace vesk {

/// Thread: any may submit; the tasks run on the main thread once the application's loop runs.
/// Owns: the tasks, until they have run. Fails: never.
///
/// Serial and not re-entrant: while a task runs a nested modal loop (the consent alert), every
/// later task waits for it to return. The timers of that modal loop and window events go on.
class MainQueue {
 public:
  virtual ~MainQueue() = default;

  /// Submits `task` and returns at once, also on the main thread.
  virtual void async(Task task) = 0;

  /// Submits `task` no earlier than `delay` from now.
  virtual void after(std::chrono::nanoseconds delay, Task task) = 0;
};

}  // namespace vesk
