#include <gtest/gtest.h>

#include <atomic>
#include <memory>

#include "contract/QueueWorlds.h"

/// What every timer promises, the one that tests use and the one that the program uses.

namespace vesk::VESK_FILE {
namespace {

using namespace std::chrono_literals;

template <typename World>
class TimerContract : public ::testing::Test {
 protected:
  std::unique_ptr<Timer> makeTimer(std::chrono::milliseconds interval, Task handler) {
    return world_.queues().makeTimer(*queue_, {interval, 0ms}, std::move(handler));
  }

  /// Lets time pass until `count` has got that far; false when it does not within ten seconds.
  bool reaches(const std::atomic<int>& count, int wanted) {
    for (int i = 0; i < 2000 && count < wanted; ++i) world_.pass(5ms);
    return count >= wanted;
  }

  /// Lets another timer of the same queue fire that often.
  void passFirings(int wanted) {
    std::atomic<int> count = 0;
    const auto timer = makeTimer(5ms, [&] { ++count; });
    timer->resume();
    EXPECT_TRUE(reaches(count, wanted));
    queue_->sync([&] { timer->cancel(); });
  }

  World world_;
  std::unique_ptr<SerialQueue> queue_ = world_.queues().makeSerialQueue("com.vesk.test");
  std::atomic<int> fired_ = 0;
};

TYPED_TEST_SUITE(TimerContract, vesk::testing::QueueWorlds);

TYPED_TEST(TimerContract, FiresAgainAndAgain) {
  const auto timer = this->makeTimer(5ms, [this] { ++this->fired_; });
  timer->resume();
  EXPECT_TRUE(this->reaches(this->fired_, 4));
  this->queue_->sync([&] { timer->cancel(); });
}

TYPED_TEST(TimerContract, DoesNotFireBeforeItIsResumed) {
  const auto timer = this->makeTimer(1ms, [this] { ++this->fired_; });
  this->passFirings(3);
  EXPECT_EQ(this->fired_, 0);
}

TYPED_TEST(TimerContract, DoesNotFireAfterItWasCancelledOnItsQueue) {
  std::unique_ptr<Timer> timer = this->makeTimer(2ms, [&] {
    if (++this->fired_ == 2) timer->cancel();
  });
  timer->resume();
  EXPECT_TRUE(this->reaches(this->fired_, 2));
  this->passFirings(4);
  EXPECT_EQ(this->fired_, 2);
}

TYPED_TEST(TimerContract, DoesNotFireAfterItsEnd) {
  auto timer = this->makeTimer(2ms, [this] { ++this->fired_; });
  timer->resume();
  EXPECT_TRUE(this->reaches(this->fired_, 1));
  this->queue_->sync([&] { timer.reset(); });
  const int before = this->fired_;
  this->passFirings(4);
  EXPECT_EQ(this->fired_, before);
}

TYPED_TEST(TimerContract, DoesNotFireAfterTheEndOfItsQueue) {
  const auto timer = this->makeTimer(2ms, [this] { ++this->fired_; });
  timer->resume();
  EXPECT_TRUE(this->reaches(this->fired_, 1));
  this->queue_ = this->world_.queues().makeSerialQueue("com.vesk.other");
  const int before = this->fired_;
  this->passFirings(4);
  EXPECT_EQ(this->fired_, before);
}

}  // namespace
}  // namespace vesk::VESK_FILE
