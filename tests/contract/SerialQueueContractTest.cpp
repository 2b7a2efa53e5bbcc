#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <memory>
#include <utility>
#include <vector>

#include "contract/QueueWorlds.h"

/// What every serial queue promises, the one that tests use and the one that the program uses.

namespace vesk::VESK_FILE {
namespace {

template <typename World>
class SerialQueueContract : public ::testing::Test {
 protected:
  World world_;
  std::unique_ptr<SerialQueue> queue_ = world_.queues().makeSerialQueue("com.vesk.test");
  std::vector<int> order_;
};

TYPED_TEST_SUITE(SerialQueueContract, vesk::testing::QueueWorlds);

TYPED_TEST(SerialQueueContract, RunsTasksInTheOrderOfSubmission) {
  for (int i = 0; i < 100; ++i) this->queue_->async([this, i] { this->order_.push_back(i); });
  this->world_.settle(*this->queue_);
  ASSERT_EQ(this->order_.size(), 100U);
  EXPECT_TRUE(std::is_sorted(this->order_.begin(), this->order_.end()));
}

TYPED_TEST(SerialQueueContract, RunsWhatCameBeforeASynchronousTaskFirst) {
  this->queue_->async([this] { this->order_.push_back(1); });
  this->queue_->sync([this] { this->order_.push_back(2); });
  EXPECT_EQ(this->order_, (std::vector{1, 2}));
}

TYPED_TEST(SerialQueueContract, RunsWhatMayWaitInItsTurn) {
  this->queue_->async([this] { this->order_.push_back(1); });
  this->queue_->asyncWithin(std::chrono::hours(1), [this] { this->order_.push_back(2); });
  this->queue_->asyncWithin({}, [this] { this->order_.push_back(3); });
  this->queue_->sync([this] { this->order_.push_back(4); });
  EXPECT_EQ(this->order_, (std::vector{1, 2, 3, 4}));
}

TYPED_TEST(SerialQueueContract, RunsATaskOfATaskLater) {
  this->queue_->async([this] {
    this->queue_->async([this] { this->order_.push_back(2); });
    this->order_.push_back(1);
  });
  this->world_.settle(*this->queue_);
  this->world_.settle(*this->queue_);
  EXPECT_EQ(this->order_, (std::vector{1, 2}));
}

TYPED_TEST(SerialQueueContract, RunsWhatWasSubmittedBeforeItsEnd) {
  this->queue_->async([this] { this->order_.push_back(1); });
  this->queue_.reset();
  EXPECT_EQ(this->order_, std::vector{1});
}

TYPED_TEST(SerialQueueContract, LetsGoOfATaskThatHasRun) {
  auto held = std::make_shared<int>(1);
  const std::weak_ptr<int> watched = held;
  this->queue_->async([held = std::move(held)] {});
  this->world_.settle(*this->queue_);
  EXPECT_TRUE(watched.expired());
}

}  // namespace
}  // namespace vesk::VESK_FILE
