#include "platform/linux/stream/SampleOutlet.h"

#include <gtest/gtest.h>

#include <poll.h>

#include "fakes/ManualQueues.h"

namespace vesk::stream::VESK_FILE {
namespace {

class SampleOutletTest : public ::testing::Test {
 protected:
  void connect() {
    outlet.connect([this](const StreamSample&, StreamOutputType) { ++samples; }, *queue);
  }

  Completion counted() {
    return [this](const std::optional<PlatformError>& error) {
      EXPECT_FALSE(error);
      ++completions;
    };
  }

  bool isReadable() const {
    pollfd waiting{outlet.descriptor(), POLLIN, 0};
    return ::poll(&waiting, 1, 0) == 1;
  }

  fakes::ManualClock clock;
  fakes::ManualQueues queues{clock};
  std::unique_ptr<SerialQueue> queue = queues.makeSerialQueue("samples");
  SampleOutlet outlet;
  int samples = 0;
  int completions = 0;
};

TEST_F(SampleOutletTest, DeliversOnTheQueueOnceThereIsOne) {
  ASSERT_TRUE(outlet);
  outlet.deliver({});
  connect();
  EXPECT_EQ(queues.waiting(), 0U);
  outlet.deliver({});
  EXPECT_EQ(samples, 0);
  queues.run();
  EXPECT_EQ(samples, 1);
}

/// Whoever shows samples looks at them by a clock of its own.
class LeisurelyQueue final : public SerialQueue {
 public:
  void async(Task) override { ADD_FAILURE() << "it is woken up for every sample"; }
  void asyncWithin(std::chrono::nanoseconds given, Task) override { leeway = given; }
  void sync(const Task&) override {}

  std::chrono::nanoseconds leeway{};
};

TEST_F(SampleOutletTest, WakesNobodyForASampleWithinATickOfUsualLength) {
  LeisurelyQueue other;
  outlet.connect([](const StreamSample&, StreamOutputType) {}, other);
  outlet.deliver({});
  EXPECT_GT(other.leeway, std::chrono::milliseconds(34));
  EXPECT_LT(other.leeway, std::chrono::milliseconds(100));
}

TEST_F(SampleOutletTest, DeliversNothingOnceItIsStopped) {
  connect();
  EXPECT_FALSE(isReadable());
  EXPECT_FALSE(outlet.isStopped());
  outlet.stop(counted());
  EXPECT_TRUE(isReadable());
  EXPECT_TRUE(outlet.isStopped());
  outlet.deliver({});
  EXPECT_EQ(queues.waiting(), 0U);
}

TEST_F(SampleOutletTest, TellsWhoeverStopsItOfTheEndOnce) {
  outlet.stop(counted());
  EXPECT_EQ(completions, 0) << "the thread is still there";
  outlet.end();
  EXPECT_EQ(completions, 1);
  outlet.stop(counted());
  EXPECT_EQ(completions, 2) << "there is nothing to wait for";
  outlet.end();
  EXPECT_EQ(completions, 2);
}

TEST_F(SampleOutletTest, KeepsTheFirstWhoWaits) {
  outlet.stop(counted());
  outlet.stop(nullptr);
  outlet.end();
  EXPECT_EQ(completions, 1);
}

}  // namespace
}  // namespace vesk::stream::VESK_FILE
