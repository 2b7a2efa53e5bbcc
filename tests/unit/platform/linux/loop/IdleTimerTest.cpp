#include "platform/linux/loop/IdleTimer.h"

#include <gtest/gtest.h>

#include <atomic>
#include <optional>
#include <semaphore>

#include "support/NoThreads.h"

namespace vesk::loop::VESK_FILE {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

TEST(IdleTimerTest, RunsOnceAfterTheLastRestart) {
  std::atomic<int> runs = 0;
  std::counting_semaphore<> ran(0);
  IdleTimer timer(50ms, [&] {
    ++runs;
    ran.release();
  });
  const auto start = Clock::now();
  for (int i = 0; i < 10; ++i) timer.restart();
  ASSERT_TRUE(ran.try_acquire_for(10s));
  EXPECT_GE(Clock::now() - start, 50ms);
  EXPECT_FALSE(ran.try_acquire_for(100ms));
  EXPECT_EQ(runs, 1);
  timer.restart();
  EXPECT_TRUE(ran.try_acquire_for(10s));
}

TEST(IdleTimerTest, IsPutOffByARestart) {
  std::counting_semaphore<> ran(0);
  std::atomic<Clock::rep> finished = 0;
  IdleTimer timer(200ms, [&] {
    finished = Clock::now().time_since_epoch().count();
    ran.release();
  });
  timer.restart();
  EXPECT_FALSE(ran.try_acquire_for(50ms));
  const auto last = Clock::now();
  timer.restart();
  ASSERT_TRUE(ran.try_acquire_for(10s));
  EXPECT_GE(Clock::duration(finished) - last.time_since_epoch(), 200ms);
}

TEST(IdleTimerTest, DropsWhatIsDueWhenItEnds) {
  std::atomic<int> runs = 0;
  const auto start = Clock::now();
  {
    IdleTimer timer(10min, [&] { ++runs; });
    timer.restart();
  }
  EXPECT_EQ(runs, 0);
  EXPECT_LT(Clock::now() - start, 1min);
  {
    const IdleTimer neverStarted(10min, [&] { ++runs; });
  }
}

TEST(IdleTimerTest, IsLateWhereNoThreadCanBeHad) {
  std::counting_semaphore<> ran(0);
  auto none = std::make_optional<testing::NoThreads>();
  IdleTimer timer(1ms, [&] { ran.release(); });
  timer.restart();
  EXPECT_FALSE(ran.try_acquire_for(50ms));
  none.reset();
  timer.restart();
  EXPECT_TRUE(ran.try_acquire_for(10s));
}

TEST(IdleTimerTest, CanBeRestartedByItsTask) {
  std::counting_semaphore<> ran(0);
  IdleTimer* self = nullptr;
  IdleTimer timer(1ms, [&] {
    ran.release();
    self->restart();
  });
  self = &timer;
  timer.restart();
  for (int i = 0; i < 3; ++i) EXPECT_TRUE(ran.try_acquire_for(10s));
}

}  // namespace
}  // namespace vesk::loop::VESK_FILE
