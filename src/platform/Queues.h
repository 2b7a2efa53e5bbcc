#pragma once

#include <memory>
#include <string>

#include "platform/MainQueue.h"
#include "platform/SerialQueue.h"
#include "platform/Timer.h"

namespace vesk {

/// Thread: any. Owns: the main queue; what it makes belongs to the caller.
/// Makes the places where work runs. Outlives every queue and timer that it made.
class Queues {
 public:
  virtual ~Queues() = default;

  virtual MainQueue& main() = 0;

  /// `label` names the queue's thread to a debugger; reverse-DNS form.
  virtual std::unique_ptr<SerialQueue> makeSerialQueue(const std::string& label) = 0;

  /// `queue` was made by this object. A firing after the queue's end is dropped.
  virtual std::unique_ptr<Timer> makeTimer(SerialQueue& queue, TimerSchedule schedule,
                                           Task handler) = 0;
};

}  // namespace vesk
