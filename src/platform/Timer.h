#pragma once

#include <chrono>

#include "platform/SerialQueue.h"

namespace vesk {

/// When a repeating timer fires: first one `interval` from its start, then every `interval`, each
/// time at most `leeway` late for the sake of sleeping longer. Firings that were missed are not
/// made up for.
struct TimerSchedule {
  std::chrono::nanoseconds interval;
  std::chrono::nanoseconds leeway;
};

/// Thread: the handler runs on the queue that the timer was made for.
/// Owns: the handler. Destroying the timer ends it as cancelling does.
class Timer {
 public:
  virtual ~Timer() = default;

  /// Starts the timer; called once. The schedule counts from this moment.
  virtual void resume() = 0;

  /// Ends the timer. Called on the timer's queue, the handler never runs again; called elsewhere,
  /// a firing that has begun runs to its end.
  virtual void cancel() = 0;
};

}  // namespace vesk
