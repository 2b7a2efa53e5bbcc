#include "platform/macos/runTask.h"

#import <Foundation/Foundation.h>

#include <memory>
#include <utility>

namespace vesk::mac {

void* givenAway(Task task) { return std::make_unique<Task>(std::move(task)).release(); }

void runTask(void* task) noexcept {
  @autoreleasepool {
    const std::unique_ptr<Task> owned(static_cast<Task*>(task));
    (*owned)();
  }
}

void runBorrowedTask(void* task) noexcept {
  @autoreleasepool {
    (*static_cast<const Task*>(task))();
  }
}

}  // namespace vesk::mac
