#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <memory>

#include "contract/PlatformUnderTest.h"
#include "fakes/ManualQueues.h"

/// The worlds in which queues exist: the tests' own, and the platform's.
namespace vesk::testing {

/// Queues whose tasks run, and whose time passes, when the test lets them.
class ManualWorld {
 public:
  Queues& queues() { return queues_; }

  /// Lets everything run that was submitted to `queue`.
  void settle(SerialQueue&) { queues_.run(); }

  /// Lets time pass, and the main queue run meanwhile.
  void pass(std::chrono::milliseconds duration) { queues_.advance(duration); }

 private:
  fakes::ManualClock clock_;
  fakes::ManualQueues queues_{clock_};
};

/// Queues with threads, and time as it is.
class PlatformWorld {
 public:
  Queues& queues() { return platform_->queues(); }
  static void settle(SerialQueue& queue) {
    queue.sync([] {});
  }
  void pass(std::chrono::milliseconds duration) {
    queues().main().after(duration, [this] { platform_->quit(); });
    platform_->run();
  }
  PlatformUnderTest& platform() { return *platform_; }

 private:
  std::unique_ptr<PlatformUnderTest> platform_ = makePlatformUnderTest();
};

using QueueWorlds = ::testing::Types<ManualWorld, PlatformWorld>;

}  // namespace vesk::testing
