#include "platform/linux/loop/ThreadQueues.h"

#include "platform/linux/loop/ThreadQueue.h"

namespace vesk::loop {

std::unique_ptr<SerialQueue> ThreadQueues::makeSerialQueue(const std::string& label) {
  return std::make_unique<ThreadQueue>(label);
}

std::unique_ptr<Timer> ThreadQueues::makeTimer(SerialQueue& queue, TimerSchedule schedule,
                                               Task handler) {
  return static_cast<ThreadQueue&>(queue).makeTimer(schedule, std::move(handler));
}

}  // namespace vesk::loop
