#pragma once

#include <memory>
#include <stdexcept>
#include <string>
#include <utility>

#include "platform/Queues.h"
#include "platform/linux/loop/ThreadQueue.h"

namespace vesk::testing {

/// Queues with threads, without a main loop.
class WorkQueues final : public Queues {
 public:
  MainQueue& main() override { throw std::logic_error("no main queue here"); }
  std::unique_ptr<SerialQueue> makeSerialQueue(const std::string& label) override {
    return std::make_unique<loop::ThreadQueue>(label);
  }
  std::unique_ptr<Timer> makeTimer(SerialQueue& queue, TimerSchedule schedule,
                                   Task handler) override {
    return static_cast<loop::ThreadQueue&>(queue).makeTimer(schedule, std::move(handler));
  }
};

}  // namespace vesk::testing
