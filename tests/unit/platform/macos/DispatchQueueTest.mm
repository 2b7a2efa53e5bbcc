#include "platform/macos/DispatchQueue.h"

#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <memory>
#include <thread>

#include "support/Patience.h"

namespace vesk::mac {
namespace {

using namespace std::chrono_literals;
using vesk::testing::patience;

TEST(DispatchQueueTest, RunsItsTasksOffTheCallersThread) {
  DispatchQueue queue("com.vesk.test");
  std::promise<std::thread::id> thread;
  queue.async([&] { thread.set_value(std::this_thread::get_id()); });
  EXPECT_NE(thread.get_future().get(), std::this_thread::get_id());
}

TEST(DispatchQueueTest, MayBeDestroyedByItsOwnTask) {
  auto queue = std::make_unique<DispatchQueue>("com.vesk.test");
  DispatchQueue& alias = *queue;
  std::promise<void> done;
  alias.async([&done, owned = std::make_shared<decltype(queue)>(std::move(queue))] {
    owned->reset();
    done.set_value();
  });
  EXPECT_EQ(done.get_future().wait_for(std::chrono::milliseconds(patience())),
            std::future_status::ready);
}

TEST(DispatchQueueTest, LetsATimerOutliveIt) {
  auto queue = std::make_unique<DispatchQueue>("com.vesk.test");
  std::atomic<int> fired = 0;
  const auto never = queue->makeTimer({1h, 0ms}, [&] { ++fired; });
  const auto timer = queue->makeTimer({1h, 0ms}, [&] { ++fired; });
  timer->resume();
  queue.reset();
  timer->cancel();
  EXPECT_EQ(fired, 0);
}

TEST(DispatchQueueDeathTest, RefusesToWaitForItself) {
  ::testing::FLAGS_gtest_death_test_style = "threadsafe";
  EXPECT_DEATH(
      {
        DispatchQueue queue("com.vesk.test");
        queue.sync([&] { queue.sync([] {}); });
      },
      "wait for itself");
}

}  // namespace
}  // namespace vesk::mac
