#include "contract/PlatformUnderTest.h"

#include <CoreFoundation/CoreFoundation.h>

#include "platform/macos/DispatchQueues.h"

namespace vesk::testing {
namespace {

class MacUnderTest final : public PlatformUnderTest {
 public:
  Queues& queues() override { return queues_; }
  void run() override { CFRunLoopRun(); }
  void quit() override { CFRunLoopStop(CFRunLoopGetMain()); }
  void runNestedLoop(std::chrono::milliseconds duration) override {
    const std::chrono::duration<double> seconds = duration;
    CFRunLoopRunInMode(kCFRunLoopDefaultMode, seconds.count(), /*returnAfterSourceHandled=*/0);
  }

 private:
  mac::DispatchQueues queues_;
};

}  // namespace

std::unique_ptr<PlatformUnderTest> makePlatformUnderTest() {
  return std::make_unique<MacUnderTest>();
}

}  // namespace vesk::testing
