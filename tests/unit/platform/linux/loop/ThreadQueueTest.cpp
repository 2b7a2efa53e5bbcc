#include "platform/linux/loop/ThreadQueue.h"

#include <gtest/gtest.h>
#include <pthread.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <csignal>
#include <fstream>
#include <functional>
#include <future>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "support/Patience.h"
#include "support/UnixListener.h"

namespace vesk::loop::VESK_FILE {
namespace {

using namespace std::chrono_literals;
using vesk::testing::longestWait;
using vesk::testing::waitUntil;

TEST(ThreadQueueTest, RunsTasksInOrderOnAThreadOfItsOwn) {
  std::vector<int> order;
  std::thread::id thread;
  {
    ThreadQueue queue("com.vesk.screen.test");
    for (int i = 0; i < 1000; ++i) queue.async([&order, i] { order.push_back(i); });
    queue.sync([&] { thread = std::this_thread::get_id(); });
    EXPECT_EQ(order.size(), 1000U);
  }
  EXPECT_NE(thread, std::this_thread::get_id());
  for (int i = 0; i < 1000; ++i) EXPECT_EQ(order[static_cast<std::size_t>(i)], i);
}

TEST(ThreadQueueTest, NamesItsThreadAfterTheLabel) {
  std::string name(16, '\0');
  ThreadQueue queue("com.vesk.screen.input");
  queue.sync([&] { ::pthread_getname_np(::pthread_self(), name.data(), name.size()); });
  EXPECT_STREQ(name.c_str(), "input");
}

TEST(ThreadQueueTest, LeavesSignalsToTheMainThread) {
  sigset_t blocked;
  ThreadQueue queue("test");
  queue.sync([&] { ::pthread_sigmask(SIG_SETMASK, nullptr, &blocked); });
  EXPECT_EQ(::sigismember(&blocked, SIGTERM), 1);
  EXPECT_EQ(::sigismember(&blocked, SIGCHLD), 1);
  EXPECT_EQ(::sigismember(&blocked, SIGSEGV), 0);
}

TEST(ThreadQueueTest, MayBeDestroyedByItsOwnTask) {
  auto queue = std::make_unique<ThreadQueue>("test");
  ThreadQueue& alias = *queue;
  std::promise<void> done;
  alias.async([&done, owned = std::make_shared<decltype(queue)>(std::move(queue))] {
    owned->reset();
    done.set_value();
  });
  EXPECT_EQ(done.get_future().wait_for(longestWait), std::future_status::ready);
}

TEST(ThreadQueueDeathTest, RefusesToWaitForItself) {
  ::testing::FLAGS_gtest_death_test_style = "threadsafe";
  EXPECT_DEATH(
      {
        ThreadQueue queue("test");
        queue.sync([&] { queue.sync([] {}); });
      },
      "wait for itself");
}

TEST(ThreadQueueTimerTest, FiresOnTheQueueEveryIntervalUntilItIsCancelled) {
  ThreadQueue queue("test");
  std::promise<void> fifth;
  int fired = 0;
  std::thread::id firedOn;
  std::unique_ptr<Timer> timer;
  const auto start = std::chrono::steady_clock::now();
  timer = queue.makeTimer({20ms, 2ms}, [&] {
    firedOn = std::this_thread::get_id();
    if (++fired == 5) {
      timer->cancel();
      fifth.set_value();
    }
  });
  timer->resume();
  ASSERT_EQ(fifth.get_future().wait_for(longestWait), std::future_status::ready);
  EXPECT_GE(std::chrono::steady_clock::now() - start, 100ms);
  std::thread::id queueThread;
  queue.sync([&] { queueThread = std::this_thread::get_id(); });
  EXPECT_EQ(firedOn, queueThread);
  EXPECT_EQ(fired, 5);
}

TEST(ThreadQueueTimerTest, DoesNotFireBeforeItIsResumedNorAfterItIsGone) {
  std::atomic<int> fired = 0;
  std::promise<void> late;
  ThreadQueue queue("test");
  const auto never = queue.makeTimer({1ms, 0ms}, [&] { ++fired; });
  auto gone = queue.makeTimer({1ms, 0ms}, [&] { ++fired; });
  gone->resume();
  queue.sync([&] { gone.reset(); });
  const int before = fired;
  const auto other = queue.makeTimer({20ms, 0ms}, [&, first = true]() mutable {
    if (std::exchange(first, false)) late.set_value();
  });
  other->resume();
  ASSERT_EQ(late.get_future().wait_for(longestWait), std::future_status::ready);
  EXPECT_EQ(fired, before);
}

TEST(ThreadQueueTimerTest, PassesOverFiringsThatItMissed) {
  ThreadQueue queue("test");
  std::promise<void> held;
  std::promise<void> second;
  int fired = 0;
  auto blocked = held.get_future();
  const auto timer = queue.makeTimer({10ms, 0ms}, [&] {
    ++fired;
    if (fired == 1) blocked.wait();
    if (fired == 2) second.set_value();
  });
  timer->resume();
  // Held up for at least twenty intervals, which another queue's timer counts.
  ThreadQueue other("other");
  std::promise<void> twenty;
  const auto counter = other.makeTimer({200ms, 0ms}, [&, first = true]() mutable {
    if (std::exchange(first, false)) twenty.set_value();
  });
  counter->resume();
  twenty.get_future().wait();
  held.set_value();
  ASSERT_EQ(second.get_future().wait_for(longestWait), std::future_status::ready);
  queue.sync([&] { EXPECT_LT(fired, 15); });
}

TEST(ThreadQueueTimerTest, IsNotHeldUpForWhatMayNotWaitForIt) {
  ThreadQueue queue("test");
  const auto timer = queue.makeTimer({1h, 0ms}, [] {});
  for (const bool hasTimer : {false, true}) {
    if (hasTimer) timer->resume();
    std::promise<void> done;
    queue.asyncWithin(1ms, [&] { done.set_value(); });
    EXPECT_EQ(done.get_future().wait_for(longestWait), std::future_status::ready);
  }
}

/// A queue that is held up until its timer is due, and what it has done by the timer's first firing
/// behind a task. `submit` gets the queue before the timer is due, or tells that it came too late.
std::vector<std::string> orderAround(
    const std::function<void(ThreadQueue&, const std::function<void(const char*)>&)>& submit) {
  constexpr auto interval = 100ms;
  ThreadQueue queue("test");
  std::vector<std::string> order;
  const std::function<void(const char*)> note = [&](const char* what) { order.emplace_back(what); };
  std::promise<void> begun;
  std::promise<void> over;
  std::promise<void> fired;
  queue.async([&, end = over.get_future().share()] {
    begun.set_value();
    end.wait();
  });
  begun.get_future().wait();
  const auto timer = queue.makeTimer({interval, 0ms}, [&, isOver = false]() mutable {
    if (std::ranges::find(order, "timer") == order.end()) note("timer");
    if (order.size() == 2 && !std::exchange(isOver, true)) fired.set_value();
  });
  const auto due = std::chrono::steady_clock::now() + interval;
  timer->resume();
  submit(queue, note);
  const bool isInTime = std::chrono::steady_clock::now() < due;
  while (std::chrono::steady_clock::now() < due + 1ms) std::this_thread::yield();
  over.set_value();
  EXPECT_EQ(fired.get_future().wait_for(longestWait), std::future_status::ready);
  queue.sync([&] { timer->cancel(); });
  return isInTime ? order : orderAround(submit);
}

TEST(ThreadQueueTimerTest, RunsWhatHasWaitedForItFirst) {
  const auto order = orderAround([](ThreadQueue& queue, const auto& note) {
    queue.asyncWithin(1h, [&note] { note("task"); });
  });
  EXPECT_EQ(order, (std::vector<std::string>{"task", "timer"}));
}

/// A queue that is never done with its tasks would never come to its timers.
TEST(ThreadQueueTimerTest, RunsBeforeWhatWaitsBehindOtherTasks) {
  const auto order = orderAround([](ThreadQueue& queue, const auto& note) {
    queue.async([] {});
    queue.asyncWithin(1h, [&note] { note("task"); });
  });
  EXPECT_EQ(order, (std::vector<std::string>{"timer", "task"}));
}

TEST(ThreadQueueTimerTest, IsNotStarvedByATaskThatComesAgainAndAgain) {
  ThreadQueue queue("test");
  std::promise<void> fired;
  std::atomic<bool> over = false;
  const auto timer = queue.makeTimer({1ms, 0ms}, [&] {
    if (!over.exchange(true)) fired.set_value();
  });
  std::function<void()> again = [&] {
    if (!over) queue.asyncWithin(std::chrono::nanoseconds::max(), again);
  };
  timer->resume();
  queue.async(again);
  EXPECT_EQ(fired.get_future().wait_for(longestWait), std::future_status::ready);
  over = true;
  queue.sync([&] { timer->cancel(); });
  queue.sync([] {});
}

/// Two firings in a row: on a busy machine most come late, but some of them come as they should.
TEST(ThreadQueueTimerTest, FiresAtEachOfItsIntervals) {
  constexpr auto interval = 50ms;
  ThreadQueue queue("test");
  std::promise<void> seen;
  std::optional<std::chrono::steady_clock::time_point> last;
  bool isOver = false;
  const auto timer = queue.makeTimer({interval, 0ms}, [&] {
    const auto now = std::chrono::steady_clock::now();
    if (!isOver && last && now - *last < interval * 3 / 2) {
      isOver = true;
      seen.set_value();
    }
    last = now;
  });
  timer->resume();
  EXPECT_EQ(seen.get_future().wait_for(longestWait), std::future_status::ready);
  queue.sync([&] { timer->cancel(); });
}

/// What the system says of a thread.
std::string statusOf(pid_t thread, const std::string& name) {
  std::ifstream status("/proc/self/task/" + std::to_string(thread) + "/status");
  for (std::string line; std::getline(status, line);) {
    if (line.starts_with(name)) return line.substr(line.find_first_not_of(": \t", name.size()));
  }
  return "";
}

/// As often as a thread has gone to sleep, once it sleeps.
long sleepsOf(pid_t thread) {
  EXPECT_TRUE(waitUntil([&] { return statusOf(thread, "State").starts_with("S"); }));
  return std::stol(statusOf(thread, "voluntary_ctxt_switches"));
}

TEST(ThreadQueueTimerTest, WakesNobodyForWhatMayWaitForIt) {
  ThreadQueue queue("test");
  const auto timer = queue.makeTimer({1h, 0ms}, [] {});
  timer->resume();
  pid_t thread = 0;
  queue.sync([&] { thread = ::gettid(); });
  const long before = sleepsOf(thread);
  int ran = 0;
  for (int i = 0; i < 50; ++i) {
    queue.asyncWithin(2h, [&] { ++ran; });
    EXPECT_EQ(sleepsOf(thread), before);
  }
  queue.sync([] {});
  EXPECT_EQ(ran, 50);
}

TEST(ThreadQueueTimerTest, MayOutliveItsQueue) {
  std::optional<ThreadQueue> queue(std::in_place, "test");
  int fired = 0;
  const auto never = queue->makeTimer({1ms, 0ms}, [&] { ++fired; });
  const auto timer = queue->makeTimer({1h, 0ms}, [&] { ++fired; });
  timer->resume();
  queue.reset();
  never->resume();
  timer->cancel();
  timer->resume();
  EXPECT_EQ(fired, 0);
}

}  // namespace
}  // namespace vesk::loop::VESK_FILE
