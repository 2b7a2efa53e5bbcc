#include "platform/macos/StreamCallbacks.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <future>
#include <string>
#include <thread>
#include <vector>

namespace vesk::mac::VESK_FILE {
namespace {

class StreamCallbacksTest : public ::testing::Test {
 protected:
  StreamCallbacksTest() {
    callbacks_.setOutput([this](const StreamSample&, StreamOutputType) { ++samples_; });
  }
  void deliver() { callbacks_.deliver({}, StreamOutputType::screen); }

  int samples_ = 0;
  std::vector<std::string> ends_;
  StreamCallbacks callbacks_{
      [this](const PlatformError& error) { ends_.push_back(error.localizedDescription); }};
};

TEST_F(StreamCallbacksTest, HandsSamplesAndTheFirstEndOn) {
  deliver();
  deliver();
  callbacks_.stopped({"unplugged"});
  callbacks_.stopped({"again"});
  EXPECT_EQ(samples_, 2);
  EXPECT_EQ(ends_, std::vector<std::string>{"unplugged"});
}

TEST_F(StreamCallbacksTest, CallsNothingBackOnceDisconnected) {
  callbacks_.disconnect();
  deliver();
  callbacks_.stopped({"late"});
  EXPECT_EQ(samples_, 0);
  EXPECT_TRUE(ends_.empty());
}

TEST_F(StreamCallbacksTest, MayBeDisconnectedFromWithinACall) {
  callbacks_.setOutput([this](const StreamSample&, StreamOutputType) {
    callbacks_.disconnect();
    ++samples_;
  });
  deliver();
  deliver();
  EXPECT_EQ(samples_, 1);
}

/// A sample and the stream's end come on two threads, and both may be what disconnects.
TEST(StreamCallbacksDeathTest, MayBeDisconnectedFromWithinBothCallsAtOnce) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  const auto disconnectFromBoth = [] {
    std::promise<void> ends;
    std::promise<void> delivers;
    StreamCallbacks* both = nullptr;
    StreamCallbacks callbacks([&](const PlatformError&) {
      ends.set_value();
      delivers.get_future().wait();
      both->disconnect();
    });
    both = &callbacks;
    callbacks.setOutput([&](const StreamSample&, StreamOutputType) {
      ends.get_future().wait();
      delivers.set_value();
      both->disconnect();
    });
    const auto end = std::async(std::launch::async, [&] { callbacks.stopped({"unplugged"}); });
    const auto sample =
        std::async(std::launch::async, [&] { callbacks.deliver({}, StreamOutputType::screen); });
    constexpr std::chrono::seconds limit(5);
    const bool returned = end.wait_for(limit) == std::future_status::ready &&
                          sample.wait_for(limit) == std::future_status::ready;
    std::_Exit(returned ? 0 : 1);
  };
  EXPECT_EXIT(disconnectFromBoth(), ::testing::ExitedWithCode(0), "");
}

TEST_F(StreamCallbacksTest, WaitsForACallThatIsUnderWay) {
  std::promise<void> entered;
  bool returned = false;
  callbacks_.setOutput([&](const StreamSample&, StreamOutputType) {
    entered.set_value();
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    returned = true;
  });
  auto call = std::async(std::launch::async, [this] { deliver(); });
  entered.get_future().wait();
  callbacks_.disconnect();
  EXPECT_TRUE(returned);
}

TEST_F(StreamCallbacksTest, WaitsForACallThatHasDisconnectedAndGoesOn) {
  std::promise<void> disconnected;
  std::promise<void> mayReturn;
  callbacks_.setOutput([&](const StreamSample&, StreamOutputType) {
    callbacks_.disconnect();
    disconnected.set_value();
    mayReturn.get_future().wait();
  });
  const auto call = std::async(std::launch::async, [this] { deliver(); });
  disconnected.get_future().wait();
  const auto other = std::async(std::launch::async, [this] { callbacks_.disconnect(); });
  EXPECT_EQ(other.wait_for(std::chrono::milliseconds(20)), std::future_status::timeout);
  mayReturn.set_value();
  other.wait();
  call.wait();
}

/// The end is being told, for as long as the test wishes.
class StreamCallbacksEndTest : public ::testing::Test {
 protected:
  StreamCallbacksEndTest() { told_.get_future().wait(); }

  std::promise<void> told_;
  std::promise<void> mayReturn_;
  StreamCallbacks callbacks_{[this](const PlatformError&) {
    told_.set_value();
    mayReturn_.get_future().wait();
  }};
  std::future<void> end_ =
      std::async(std::launch::async, [this] { callbacks_.stopped({"unplugged"}); });
};

TEST_F(StreamCallbacksEndTest, IsWaitedForByASampleThatDisconnects) {
  callbacks_.setOutput([this](const StreamSample&, StreamOutputType) { callbacks_.disconnect(); });
  const auto sample =
      std::async(std::launch::async, [this] { callbacks_.deliver({}, StreamOutputType::screen); });
  EXPECT_EQ(sample.wait_for(std::chrono::milliseconds(20)), std::future_status::timeout);
  mayReturn_.set_value();
  sample.wait();
  end_.wait();
}

TEST_F(StreamCallbacksEndTest, DeliversSamplesWhileTheEndIsBeingTold) {
  int samples = 0;
  callbacks_.setOutput([&](const StreamSample&, StreamOutputType) { ++samples; });
  callbacks_.deliver({}, StreamOutputType::screen);
  EXPECT_EQ(samples, 1);
  mayReturn_.set_value();
}

}  // namespace
}  // namespace vesk::mac::VESK_FILE
