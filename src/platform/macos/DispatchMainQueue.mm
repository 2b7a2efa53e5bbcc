#include "platform/macos/DispatchMainQueue.h"

#include <dispatch/dispatch.h>

#include <utility>

#include "platform/macos/runTask.h"

namespace vesk::mac {

void DispatchMainQueue::async(Task task) {
  dispatch_async_f(dispatch_get_main_queue(), givenAway(std::move(task)), runTask);
}

void DispatchMainQueue::after(std::chrono::nanoseconds delay, Task task) {
  dispatch_after_f(dispatch_time(DISPATCH_TIME_NOW, delay.count()), dispatch_get_main_queue(),
                   givenAway(std::move(task)), runTask);
}

}  // namespace vesk::mac
