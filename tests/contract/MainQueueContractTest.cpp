#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

#include "contract/QueueWorlds.h"

/// What every main queue promises, the one that tests use and the one that the program uses.

namespace vesk::VESK_FILE {
namespace {

using namespace std::chrono_literals;
using Order = std::vector<std::string>;

template <typename World>
class MainQueueContract : public ::testing::Test {
 protected:
  void add(const std::string& event) { order_.push_back(event); }

  World world_;
  MainQueue& main_ = world_.queues().main();
  std::thread::id mainThread_ = std::this_thread::get_id();
  Order order_;
};

TYPED_TEST_SUITE(MainQueueContract, vesk::testing::QueueWorlds);

TYPED_TEST(MainQueueContract, RunsTasksOfEveryThreadInOrderOnTheMainThread) {
  this->main_.async([this] { this->add("main"); });
  std::thread([this] {
    this->main_.async([this] { this->add("other"); });
    this->main_.async([this] {
      this->add(std::this_thread::get_id() == this->mainThread_ ? "on main" : "elsewhere");
    });
  }).join();
  this->world_.pass(1ms);
  EXPECT_EQ(this->order_, (Order{"main", "other", "on main"}));
}

TYPED_TEST(MainQueueContract, RunsATaskOfATaskLater) {
  this->main_.async([this] {
    this->main_.async([this] { this->add("inner"); });
    this->add("outer");
  });
  this->world_.pass(50ms);
  EXPECT_EQ(this->order_, (Order{"outer", "inner"}));
}

TYPED_TEST(MainQueueContract, RunsDelayedTasksInTheOrderInWhichTheyAreDue) {
  this->main_.after(60ms, [this] { this->add("late"); });
  this->main_.after(20ms, [this] { this->add("early"); });
  this->main_.after(1h, [this] { this->add("never"); });
  this->world_.pass(100ms);
  EXPECT_EQ(this->order_, (Order{"early", "late"}));
}

TYPED_TEST(MainQueueContract, LetsGoOfATaskThatHasRun) {
  auto held = std::make_shared<int>(1);
  const std::weak_ptr<int> watched = held;
  this->main_.async([held = std::move(held)] {});
  this->world_.pass(1ms);
  EXPECT_TRUE(watched.expired());
}

/// The tests' own queue has no loop that could be nested.
TEST(PlatformMainQueueContract, HoldsBackEveryTaskWhileOneRunsANestedLoop) {
  vesk::testing::PlatformWorld world;
  MainQueue& main = world.queues().main();
  Order order;
  main.async([&] {
    order.emplace_back("begins");
    main.async([&] { order.emplace_back("held back"); });
    main.after(1ms, [&] { order.emplace_back("delayed, held back"); });
    world.platform().runNestedLoop(50ms);
    order.emplace_back("ends");
  });
  world.pass(100ms);
  EXPECT_EQ(order, (Order{"begins", "ends", "held back", "delayed, held back"}));
}

}  // namespace
}  // namespace vesk::VESK_FILE
