#include "platform/linux/IdleTimer.h"

#include <gtest/gtest.h>

#include <atomic>
#include <semaphore>

namespace vesk {
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

}  // namespace
}  // namespace vesk
