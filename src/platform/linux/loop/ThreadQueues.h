#pragma once

#include "platform/Queues.h"
#include "platform/linux/loop/QtMainQueue.h"

namespace vesk::loop {

/// Queues with threads of their own beside Qt's main loop. Made on the main thread.
class ThreadQueues final : public Queues {
 public:
  MainQueue& main() override { return main_; }
  std::unique_ptr<SerialQueue> makeSerialQueue(const std::string& label) override;
  std::unique_ptr<Timer> makeTimer(SerialQueue& queue, TimerSchedule schedule,
                                   Task handler) override;

 private:
  QtMainQueue main_;
};

}  // namespace vesk::loop
