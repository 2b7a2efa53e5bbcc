#include "platform/macos/DispatchQueues.h"

#include <utility>

#include "platform/macos/DispatchQueue.h"

namespace vesk::mac {

std::unique_ptr<SerialQueue> DispatchQueues::makeSerialQueue(const std::string& label) {
  return std::make_unique<DispatchQueue>(label);
}

std::unique_ptr<Timer> DispatchQueues::makeTimer(SerialQueue& queue, TimerSchedule schedule,
                                                 Task handler) {
  return static_cast<DispatchQueue&>(queue).makeTimer(schedule, std::move(handler));
}

}  // namespace vesk::mac
