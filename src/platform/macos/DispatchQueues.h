#pragma once

#include "platform/Queues.h"
#include "platform/macos/DispatchMainQueue.h"

namespace vesk::mac {

/// Queues of the dispatch library beside the application's main loop.
class DispatchQueues final : public Queues {
 public:
  MainQueue& main() override { return main_; }
  std::unique_ptr<SerialQueue> makeSerialQueue(const std::string& label) override;
  std::unique_ptr<Timer> makeTimer(SerialQueue& queue, TimerSchedule schedule,
                                   Task handler) override;

 private:
  DispatchMainQueue main_;
};

}  // namespace vesk::mac
