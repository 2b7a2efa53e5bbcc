#pragma once

#include <chrono>
#include <memory>

#include "platform/Queues.h"

namespace vesk::testing {

/// The platform that this build is for, as far as a program without windows can have it.
/// Thread: made, used and destroyed on the main thread.
class PlatformUnderTest {
 public:
  virtual ~PlatformUnderTest() = default;

  virtual Queues& queues() = 0;

  /// Runs the main loop until `quit` is called.
  virtual void run() = 0;
  virtual void quit() = 0;

  /// Runs a loop of its own within a task of the main queue, as an alert does.
  virtual void runNestedLoop(std::chrono::milliseconds duration) = 0;
};

std::unique_ptr<PlatformUnderTest> makePlatformUnderTest();

}  // namespace vesk::testing
