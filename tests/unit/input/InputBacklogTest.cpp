#include "input/InputBacklog.h"

#include <gtest/gtest.h>

#include <future>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "fakes/ManualQueues.h"
#include "support/UnixListener.h"

namespace vesk::VESK_FILE {
namespace {

class InputBacklogTest : public ::testing::Test {
 protected:
  bool message(const std::string& name, std::size_t bytes = 1) {
    return backlog_.addMessage(bytes, [this, name] { done_.push_back(name); });
  }
  void task(const std::string& name) {
    backlog_.add([this, name] { done_.push_back(name); });
  }
  std::vector<std::string> run() {
    queues_.run();
    return std::exchange(done_, {});
  }

  fakes::ManualClock clock_;
  fakes::ManualQueues queues_{clock_};
  InputBacklog backlog_{queues_.makeSerialQueue("input")};
  std::vector<std::string> done_;
};

using Names = std::vector<std::string>;

TEST_F(InputBacklogTest, DoesEverythingInOrderOnItsQueue) {
  EXPECT_TRUE(message("a"));
  task("allow");
  EXPECT_TRUE(message("b"));
  EXPECT_EQ(done_, Names{});
  EXPECT_EQ(run(), (Names{"a", "allow", "b"}));
  EXPECT_TRUE(message("c"));
  EXPECT_EQ(run(), Names{"c"});
}

TEST_F(InputBacklogTest, DoesWhatIsAddedByWhatItDoes) {
  backlog_.add([this] { task("inner"); });
  task("outer");
  EXPECT_EQ(run(), (Names{"outer", "inner"}));
}

TEST_F(InputBacklogTest, DropsEveryMessageButNoTaskWhereTooManyWait) {
  task("first");
  for (std::size_t i = 0; i < InputBacklog::mostMessages; ++i) EXPECT_TRUE(message("m"));
  task("second");
  EXPECT_FALSE(message("one too many"));
  task("third");
  EXPECT_EQ(run(), (Names{"first", "second", "third"}));
}

TEST_F(InputBacklogTest, DropsEveryMessageWhereTooMuchWaits) {
  EXPECT_TRUE(message("a", InputBacklog::mostBytes - 1));
  EXPECT_TRUE(message("b", 1));
  EXPECT_FALSE(message("c", 1));
  EXPECT_EQ(run(), Names{});
  EXPECT_FALSE(message("larger than everything", InputBacklog::mostBytes + 1));
}

TEST_F(InputBacklogTest, HasRoomAgainOnceItHasDroppedOrDoneWhatWaited) {
  for (int round = 0; round < 3; ++round) {
    EXPECT_TRUE(message("a", InputBacklog::mostBytes));
    EXPECT_FALSE(message("b"));
    for (std::size_t i = 0; i < InputBacklog::mostMessages; ++i) EXPECT_TRUE(message("m"));
    EXPECT_EQ(run().size(), InputBacklog::mostMessages);
  }
}

TEST_F(InputBacklogTest, LetsGoOfWhatItDropsWhereOthersMayAdd) {
  std::future<void> other;
  std::shared_ptr<void> end(nullptr, [&](void*) {
    other = std::async(std::launch::async, [this] { task("other's"); });
    EXPECT_EQ(other.wait_for(vesk::testing::longestWait), std::future_status::ready);
  });
  EXPECT_TRUE(backlog_.addMessage(InputBacklog::mostBytes, [end = std::move(end)] {}));
  EXPECT_FALSE(message("one too many"));
  EXPECT_EQ(run(), Names{"other's"});
}

/// However many messages come while the queue is held up, it gets one piece of work.
TEST_F(InputBacklogTest, AddsNothingToItsQueueThatItDoesNotCount) {
  class HeldUpQueue final : public SerialQueue {
   public:
    explicit HeldUpQueue(int& pieces) : pieces_(pieces) {}
    void async(Task /*task*/) override { ++pieces_; }
    void sync(const Task& /*task*/) override {}

   private:
    int& pieces_;
  };
  int pieces = 0;
  InputBacklog heldUp(std::make_unique<HeldUpQueue>(pieces));
  bool again = true;
  for (int i = 0; i < 100'000; ++i) again = heldUp.addMessage(1, [] {}) && again;
  EXPECT_FALSE(again);
  EXPECT_EQ(pieces, 1);
}

TEST_F(InputBacklogTest, DoesWhatWaitedEvenWhenItIsGone) {
  {
    InputBacklog shortLived(queues_.makeSerialQueue("gone"));
    shortLived.add([this] { done_.push_back("done"); });
  }
  EXPECT_EQ(run(), Names{"done"});
}

TEST_F(InputBacklogTest, TakesFromAnyThread) {
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([this] {
      for (int j = 0; j < 100; ++j) task("t");
    });
  }
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(run().size(), 400U);
}

}  // namespace
}  // namespace vesk::VESK_FILE
