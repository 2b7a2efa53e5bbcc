#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <functional>
#include <future>
#include <stdexcept>
#include <thread>
#include <utility>

#include "platform/linux/loop/ThreadQueue.h"
#include "platform/linux/portal/screen/StreamImages.h"
#include "platform/linux/portal/screen/streamErrors.h"
#include "platform/linux/stream/ThreadedStream.h"
#include "support/Mutter.h"
#include "support/MutterCast.h"
#include "support/MutterHand.h"
#include "support/Patience.h"
#include "support/ReceivedSamples.h"
#include "support/Scarcity.h"
#include "support/WlWindow.h"
#include "support/XResources.h"

namespace vesk::portal::screen::VESK_FILE {
namespace {

using namespace std::chrono_literals;
using testing::MutterCast;
using testing::WlWindow;

constexpr PixelSize monitor{640, 400};

class StreamLifeTest : public ::testing::Test {
 protected:
  StreamLifeTest() { mutter.enter(); }

  std::unique_ptr<ScreenStream> makeStream(int framesPerSecond = 60) {
    StreamConfiguration configuration;
    configuration.width = monitor.width;
    configuration.height = monitor.height;
    configuration.framesPerSecond = framesPerSecond;
    configuration.showsCursor = true;
    auto stream = std::make_unique<stream::ThreadedStream>(
        std::make_unique<StreamImages>(cast.remote(), cast.node(), 0, configuration, nullptr),
        framesPerSecond, [this](const PlatformError& error) { received.fail(error); });
    stream->addOutput([this](const auto& sample, auto) { received.add(sample); }, queue);
    return stream;
  }

  static std::optional<PlatformError> wait(const std::function<void(Completion)>& call) {
    std::promise<std::optional<PlatformError>> done;
    call([&](auto error) { done.set_value(std::move(error)); });
    return done.get_future().get();
  }
  static std::optional<PlatformError> start(ScreenStream& stream) {
    return wait([&](Completion done) { stream.startCapture(std::move(done)); });
  }
  static std::optional<PlatformError> stop(ScreenStream& stream) {
    return wait([&](Completion done) { stream.stopCapture(std::move(done)); });
  }

  testing::Mutter mutter{{monitor, false, false}};
  MutterCast cast{mutter};
  testing::ReceivedSamples received;
  loop::ThreadQueue queue{"test.samples"};
};

/// How often a thread of this process has gone to sleep.
int sleeps(const std::filesystem::path& thread) {
  std::ifstream status(thread / "status");
  const std::string wanted = "voluntary_ctxt_switches:";
  for (std::string line; std::getline(status, line);) {
    if (line.starts_with(wanted)) return std::stoi(line.substr(wanted.size()));
  }
  throw std::runtime_error("the thread is gone");
}

TEST_F(StreamLifeTest, ShowsWhatIsDrawnAndSaysOnceThatNothingIs) {
  WlWindow window;
  ASSERT_TRUE(testing::MutterHand(mutter).awaitFullSize(window));
  const auto stream = makeStream();
  ASSERT_EQ(start(*stream), std::nullopt);
  ASSERT_TRUE(received.waitUntil([](auto& r) { return r.images() > 0 && r.idle() > 0; }));
  for (int i = 0; i < 5; ++i) {
    const int before = received.images();
    window.fill(300, 200, 40, 60, i % 2 == 0 ? 0xffffff : 0);
    ASSERT_TRUE(
        received.waitUntil([&](auto& r) { return r.luma(320, 240) == (i % 2 == 0 ? 235 : 16); }));
    EXPECT_TRUE(received.waitUntil([&](auto& r) { return r.idle() >= i + 2; }));
    // What the desktop drew when the stream began may come late.
    EXPECT_LE(received.images(), before + 2);
  }
}

TEST_F(StreamLifeTest, SendsNoMoreImagesThanItWasAskedForHoweverMuchIsDrawn) {
  WlWindow window;
  ASSERT_TRUE(testing::MutterHand(mutter).awaitFullSize(window));
  const auto stream = makeStream(/*framesPerSecond=*/5);
  ASSERT_EQ(start(*stream), std::nullopt);
  ASSERT_TRUE(received.waitUntil([](auto& r) { return r.images() > 0; }));
  const auto begin = std::chrono::steady_clock::now();
  for (int i = 0; received.images() < 6; ++i) {
    window.fill(0, 0, 100, 100, i % 2 == 0 ? 0xffffff : 0);
    window.waitUntilShown();
  }
  // A second, of which half is left to threads that run late.
  EXPECT_GE(std::chrono::steady_clock::now() - begin, 500ms);
}

/// Neither the stream's own thread nor the library's.
TEST_F(StreamLifeTest, DoesNothingAtAllWhileTheScreenIsStill) {
  WlWindow window;
  ASSERT_TRUE(testing::MutterHand(mutter).awaitFullSize(window));
  const auto threads = [] {
    std::vector<std::filesystem::path> all;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/task"))
      all.push_back(entry.path());
    return all;
  };
  const auto others = threads();
  const auto stream = makeStream(120);
  ASSERT_EQ(start(*stream), std::nullopt);
  ASSERT_TRUE(received.waitUntil([](auto& r) { return r.images() > 0 && r.idle() > 0; }));
  auto own = threads();
  std::erase_if(own, [&](const auto& each) { return std::ranges::count(others, each) > 0; });
  EXPECT_EQ(own.size(), 2U);
  const auto sum = [&] {
    int all = 0;
    for (const auto& thread : own) all += sleeps(thread);
    return all;
  };
  auto begin = std::chrono::steady_clock::now();
  int before = sum();
  EXPECT_TRUE(testing::waitUntil([&] {
    if (std::chrono::steady_clock::now() - begin < 1s) return false;
    begin = std::chrono::steady_clock::now();
    return sum() == std::exchange(before, sum());
  })) << "a second without waking up";
}

TEST_F(StreamLifeTest, EndsWhenThePersonStopsSharingAndSaysSo) {
  const auto stream = makeStream();
  ASSERT_EQ(start(*stream), std::nullopt);
  cast.stop();
  EXPECT_TRUE(received.waitUntil([](auto& r) { return !r.errors().empty(); }));
  EXPECT_EQ(received.errors(), std::vector{streamError::stopped.localizedDescription});
  EXPECT_EQ(stop(*stream), std::nullopt);
}

TEST_F(StreamLifeTest, StopsAtAnyMoment) {
  WlWindow window;
  ASSERT_TRUE(testing::MutterHand(mutter).awaitFullSize(window));
  for (int i = 0; i < 20; ++i) {
    const auto stream = makeStream();
    ASSERT_EQ(start(*stream), std::nullopt) << i;
    window.fill(0, 0, 200, 200, static_cast<std::uint32_t>(i) * 4000);
    std::this_thread::yield();
    if (i % 3 == 1) received.waitUntil([n = received.images()](auto& r) { return r.images() > n; });
    if (i % 2 == 0) {
      ASSERT_EQ(stop(*stream), std::nullopt) << i;
    }
  }
  EXPECT_TRUE(received.errors().empty());
}

/// A desktop that sends no picture is waited for, but not by whoever has stopped it.
TEST_F(StreamLifeTest, StopsBeforeItsFirstPicture) {
  const auto stream = makeStream();
  ::kill(mutter.compositorPid(), SIGSTOP);
  std::promise<std::optional<PlatformError>> started;
  stream->startCapture([&](const auto& error) { started.set_value(error); });
  EXPECT_EQ(stop(*stream), std::nullopt);
  EXPECT_EQ(started.get_future().get(), streamError::givenUp);
  ::kill(mutter.compositorPid(), SIGCONT);
}

TEST_F(StreamLifeTest, LeavesNothingBehindHoweverOftenItRuns) {
  const auto run = [&](int i) {
    const auto stream = makeStream();
    ASSERT_EQ(start(*stream), std::nullopt) << i;
    if (i % 2 == 0) {
      ASSERT_EQ(stop(*stream), std::nullopt) << i;
    }
  };
  run(0);
  const auto before = testing::countProcessResources();
  for (int i = 0; i < 20; ++i) run(i);
  EXPECT_EQ(testing::countProcessResources(), before);
}

TEST_F(StreamLifeTest, FailsWithoutADescriptorInWordsThatSaySo) {
  const auto stream = makeStream();
  std::optional<PlatformError> error;
  {
    const testing::NoDescriptors scarcity;
    error = start(*stream);
  }
  EXPECT_EQ(error, streamError::noDescriptor);
  const auto another = makeStream();
  EXPECT_EQ(start(*another), std::nullopt);
}

}  // namespace
}  // namespace vesk::portal::screen::VESK_FILE
