#pragma once

#include <chrono>
#include <functional>
#include <utility>

namespace vesk {

using Task = std::function<void()>;

/// Thread: any may submit; the tasks run one after the other, in the order of submission, on the
/// queue's own thread.
/// Owns: the tasks, until they have run. Destroying a queue lets what was submitted run to its end
/// first; it may happen on any thread, the queue's own included.
/// Fails: never; a task that lets an exception escape ends the process, since nobody could catch
/// it.
class SerialQueue {
 public:
  virtual ~SerialQueue() = default;

  /// Submits `task` and returns at once.
  virtual void async(Task task) = 0;

  /// The same for a task that may wait for up to `leeway`: a queue that will be awake by then
  /// anyway need not be woken up for it alone.
  virtual void asyncWithin([[maybe_unused]] std::chrono::nanoseconds leeway, Task task) {
    async(std::move(task));
  }

  /// Submits `task` and returns when it has run. Called on the queue itself it could only wait for
  /// itself: that is a programming error and ends the process.
  virtual void sync(const Task& task) = 0;
};

}  // namespace vesk
