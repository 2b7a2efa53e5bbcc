#include "platform/InputGate.h"

#include <gtest/gtest.h>

#include <atomic>
#include <future>

#include "fakes/ManualClock.h"
#include "platform/SystemClock.h"

namespace vesk::VESK_FILE {
namespace {

using namespace std::chrono_literals;

class InputGateTest : public ::testing::Test {
 protected:
  HostTime in(std::chrono::milliseconds time) const { return clock_.hostTime() + time; }

  fakes::ManualClock clock_;
  InputGate gate_{clock_};
};

TEST_F(InputGateTest, IsOpenOnceItWasOpenedAsOftenAsClosed) {
  EXPECT_TRUE(gate_.isOpen());
  gate_.close();
  gate_.close();
  EXPECT_FALSE(gate_.isOpen());
  gate_.open();
  EXPECT_FALSE(gate_.isOpen());
  gate_.open();
  EXPECT_TRUE(gate_.isOpen());
}

TEST_F(InputGateTest, LetsGoOfEverythingAtEachClosingOnceItIsShut) {
  int closings = 0;
  gate_.onClose = [&] {
    ++closings;
    EXPECT_FALSE(gate_.isOpen());
  };
  gate_.close();
  gate_.close();
  gate_.open();
  EXPECT_EQ(closings, 2);
}

TEST_F(InputGateTest, ShutsWhenTheTimeOfAnEndIsOver) {
  gate_.endBy(in(200ms));
  clock_.advance(199ms);
  EXPECT_TRUE(gate_.isOpen());
  clock_.advance(1ms);
  EXPECT_FALSE(gate_.isOpen());
  gate_.ended();
  EXPECT_TRUE(gate_.isOpen());
}

TEST_F(InputGateTest, GivesEveryEndItsOwnTime) {
  gate_.endBy(in(100ms));
  gate_.endBy(in(300ms));
  clock_.advance(100ms);
  EXPECT_FALSE(gate_.isOpen());
  gate_.ended();
  EXPECT_TRUE(gate_.isOpen());
  clock_.advance(200ms);
  EXPECT_FALSE(gate_.isOpen());
  gate_.ended();
  EXPECT_TRUE(gate_.isOpen());
}

TEST_F(InputGateTest, TellsOfTheLastEndOnceItIsCarriedOut) {
  int told = 0;
  gate_.onEnded = [&] {
    ++told;
    EXPECT_TRUE(gate_.isOpen());
  };
  gate_.endBy(in(0ms));
  gate_.endBy(in(0ms));
  gate_.ended();
  EXPECT_EQ(told, 0);
  gate_.ended();
  EXPECT_EQ(told, 1);
}

TEST_F(InputGateTest, StaysShutForThePersonWhateverEnds) {
  gate_.close();
  gate_.endBy(in(0ms));
  gate_.ended();
  EXPECT_FALSE(gate_.isOpen());
}

/// The system's clock, which tells when it is looked at.
class WatchedClock final : public SystemClock {
 public:
  HostTime hostTime() const override {
    looks_.fetch_add(1);
    looks_.notify_all();
    return SystemClock::hostTime();
  }

  void waitForALook() const { looks_.wait(0); }

 private:
  mutable std::atomic<int> looks_ = 0;
};

/// Its sleeps are real: they wait for other threads.
class SleepAtTheGateTest : public ::testing::Test {
 protected:
  /// How a sleep of a minute ends that has begun in another thread: once it has looked at the
  /// clock it lets nobody change the gate before it waits.
  std::future<bool> sleepForAMinute() {
    auto sleep = std::async(std::launch::async, [this, until = SystemClock().hostTime() + 1min] {
      return gate_.sleepUntil(until);
    });
    clock_.waitForALook();
    return sleep;
  }

  /// Whether it ended long before its time, and the gate was shut.
  static bool isCutShort(std::future<bool>& sleep) {
    return sleep.wait_for(30s) == std::future_status::ready && !sleep.get();
  }

  WatchedClock clock_;
  InputGate gate_{clock_};
};

TEST_F(SleepAtTheGateTest, IsOverAtItsTime) {
  const auto until = clock_.hostTime() + 20ms;
  EXPECT_TRUE(gate_.sleepUntil(until));
  EXPECT_GE(clock_.hostTime(), until);
}

TEST_F(SleepAtTheGateTest, IsOverWhenTheGateIsClosed) {
  auto sleep = sleepForAMinute();
  gate_.close();
  EXPECT_TRUE(isCutShort(sleep));
}

TEST_F(SleepAtTheGateTest, IsOverWhenTheTimeOfAnEndIs) {
  auto sleep = sleepForAMinute();
  gate_.endBy(clock_.hostTime() + 20ms);
  EXPECT_TRUE(isCutShort(sleep));
}

}  // namespace
}  // namespace vesk::VESK_FILE
