#include "platform/linux/wayland/screen/WlScreenCapture.h"

#include <gtest/gtest.h>

#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <functional>
#include <future>
#include <stdexcept>
#include <thread>

#include "capture/Capturer.h"
#include "platform/SystemClock.h"
#include "platform/linux/LinuxProcesses.h"
#include "platform/linux/loop/ThreadQueue.h"
#include "platform/linux/picture/X264Compression.h"
#include "platform/linux/wayland/server/WlDisplays.h"
#include "support/H264Decoder.h"
#include "support/Patience.h"
#include "support/ReceivedSamples.h"
#include "support/Scarcity.h"
#include "support/Sway.h"
#include "support/WlWindow.h"
#include "support/WorkQueues.h"
#include "support/XResources.h"

namespace vesk::wayland::screen::VESK_FILE {
namespace {

using namespace std::chrono_literals;
using testing::WlWindow;
using testing::WorkQueues;

class WlScreenCaptureTest : public ::testing::Test {
 protected:
  WlScreenCaptureTest() { sway.enter(); }

  std::unique_ptr<ScreenStream> makeStream(int framesPerSecond = 60) {
    StreamConfiguration configuration;
    configuration.width = 640;
    configuration.height = 400;
    configuration.framesPerSecond = framesPerSecond;
    ContentFilter filter;
    server::WlDisplays displays;
    const auto display = displays.mainDisplay();
    const auto points = displays.pixels(display);
    filter.display = {display, points.width, points.height};
    filter.excludingApplications = {{::getpid()}};
    auto stream = WlScreenCapture(list, watched)
                      .makeStream(filter, configuration,
                                  [this](const PlatformError& error) { received.fail(error); });
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

  testing::Sway sway{{"output HEADLESS-1 mode 640x400@60Hz"}};
  beneath::OwnSurfaces list;
  stream::WatchedDisplay watched;
  testing::ReceivedSamples received;
  loop::ThreadQueue queue{"test.samples"};
};

TEST_F(WlScreenCaptureTest, OffersTheOutputsInPointsAndThisProgram) {
  sway.command("output HEADLESS-1 scale 2");
  ASSERT_TRUE(testing::waitUntil([] {
    server::WlDisplays displays;
    return displays.pixels(displays.mainDisplay()) == PixelSize{320, 200};
  }));
  std::optional<ShareableContent> content;
  WlScreenCapture(list, watched).shareableContent([&](auto offered, const auto& error) {
    content = std::move(offered);
    EXPECT_EQ(error, std::nullopt);
  });
  ASSERT_TRUE(content);
  ASSERT_EQ(content->displays.size(), 1U);
  EXPECT_EQ(content->displays[0].displayID, server::WlDisplays().mainDisplay());
  EXPECT_EQ(content->displays[0].width, 320);
  EXPECT_EQ(content->displays[0].height, 200);
  ASSERT_EQ(content->applications.size(), 1U);
  EXPECT_EQ(content->applications[0].processID, ::getpid());
}

TEST_F(WlScreenCaptureTest, SaysThatThereIsNoCompositor) {
  sway.kill();
  std::optional<PlatformError> refused;
  WlScreenCapture(list, watched).shareableContent([&](const auto& offered, const auto& error) {
    EXPECT_FALSE(offered);
    refused = error;
  });
  EXPECT_EQ(refused, PlatformError{"The Wayland compositor is gone."});
}

TEST_F(WlScreenCaptureTest, ShowsWhatIsDrawnAndSaysOnceThatNothingIs) {
  WlWindow window;
  const auto stream = makeStream();
  ASSERT_EQ(start(*stream), std::nullopt);
  ASSERT_TRUE(received.waitUntil([](auto& r) { return r.images() > 0 && r.idle() > 0; }));
  for (int i = 0; i < 5; ++i) {
    const int before = received.images();
    window.fill(300, 200, 40, 60, i % 2 == 0 ? 0xffffff : 0);
    ASSERT_TRUE(
        received.waitUntil([&](auto& r) { return r.luma(320, 240) == (i % 2 == 0 ? 235 : 16); }));
    EXPECT_TRUE(received.waitUntil([&](auto& r) { return r.idle() >= i + 2; }));
    // This compositor tells now and then that all has changed while nothing has.
    EXPECT_LE(received.images(), before + 2);
  }
}

TEST_F(WlScreenCaptureTest, SendsNoMoreImagesThanItWasAskedForHoweverMuchIsDrawn) {
  WlWindow window;
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

/// The thread sleeps until the compositor wakes it, which it has no reason to.
TEST_F(WlScreenCaptureTest, DoesNothingAtAllWhileTheScreenIsStill) {
  WlWindow window;
  const auto stream = makeStream(120);
  ASSERT_EQ(start(*stream), std::nullopt);
  ASSERT_TRUE(received.waitUntil([](auto& r) { return r.images() > 0 && r.idle() > 0; }));
  std::string thread;
  for (const auto& entry : std::filesystem::directory_iterator("/proc/self/task")) {
    std::string name;
    std::getline(std::ifstream(entry.path() / "comm") >> std::ws, name);
    if (name == "screen") thread = entry.path();
  }
  ASSERT_NE(thread, "");
  const auto sleeps = [&] {
    std::ifstream status(thread + "/status");
    const std::string wanted = "voluntary_ctxt_switches:";
    for (std::string line; std::getline(status, line);) {
      if (line.starts_with(wanted)) return std::stoi(line.substr(wanted.size()));
    }
    throw std::runtime_error("the thread is gone");
  };
  auto begin = std::chrono::steady_clock::now();
  int before = sleeps();
  EXPECT_TRUE(testing::waitUntil([&] {
    if (std::chrono::steady_clock::now() - begin < 1s) return false;
    begin = std::chrono::steady_clock::now();
    return sleeps() == std::exchange(before, sleeps());
  })) << "a second without waking up";
}

TEST_F(WlScreenCaptureTest, EndsWithTheCompositorAndSaysSo) {
  const auto stream = makeStream();
  ASSERT_EQ(start(*stream), std::nullopt);
  ASSERT_TRUE(received.waitUntil([](auto& r) { return r.images() > 0; }));
  sway.kill();
  EXPECT_TRUE(received.waitUntil([](auto& r) { return !r.errors().empty(); }));
  EXPECT_EQ(received.errors(), std::vector<std::string>{"The Wayland compositor is gone."});
  EXPECT_EQ(stop(*stream), std::nullopt);
}

TEST_F(WlScreenCaptureTest, StopsAtAnyMoment) {
  WlWindow window;
  for (int i = 0; i < 60; ++i) {
    const auto stream = makeStream();
    ASSERT_EQ(start(*stream), std::nullopt) << i;
    window.fill(0, 0, 200, 200, static_cast<std::uint32_t>(i) * 4000);
    std::this_thread::yield();
    if (i % 3 == 1) received.waitUntil([n = received.images()](auto& r) { return r.images() > n; });
    const auto begin = std::chrono::steady_clock::now();
    if (i % 2 == 0) {
      ASSERT_EQ(stop(*stream), std::nullopt) << i;
      const int last = received.images();
      queue.sync([] {});
      window.fill(0, 0, 200, 200, 0);
      EXPECT_LE(received.images(), last + 1) << "what was on its way";
    }
    EXPECT_LT(std::chrono::steady_clock::now() - begin, 1s) << i;
  }
  EXPECT_TRUE(received.errors().empty());
}

TEST_F(WlScreenCaptureTest, LeavesNothingBehindHoweverOftenItRuns) {
  const auto run = [&](int i) {
    const auto stream = makeStream();
    ASSERT_EQ(start(*stream), std::nullopt) << i;
    if (i % 2 == 0) {
      ASSERT_EQ(stop(*stream), std::nullopt) << i;
    }
  };
  const auto mappings = [] {
    std::ifstream maps("/proc/self/maps");
    int count = 0;
    for (std::string line; std::getline(maps, line);)
      count += line.find("/memfd:screen") != std::string::npos ? 1 : 0;
    return count;
  };
  run(0);
  const auto before = testing::countProcessResources();
  for (int i = 0; i < 100; ++i) run(i);
  EXPECT_EQ(testing::countProcessResources(), before);
  EXPECT_EQ(mappings(), 0);
}

TEST_F(WlScreenCaptureTest, FailsWithoutAThreadOrADescriptorInWordsThatSaySo) {
  auto stream = makeStream();
  std::optional<PlatformError> error;
  {
    const testing::NoThreads scarcity;
    error = start(*stream);
  }
  EXPECT_EQ(error, PlatformError{"This program has too many threads running."});
  {
    const testing::NoDescriptors scarcity;
    error = start(*stream);
  }
  EXPECT_EQ(error, PlatformError{"This program has too many files open."});
  stream = makeStream();
  EXPECT_EQ(start(*stream), std::nullopt);
}

/// To whoever asks, whichever the person makes that.
TEST_F(WlScreenCaptureTest, HasItsDisplayWatchedUntilItIsStopped) {
  auto stream = makeStream();
  const auto main = server::WlDisplays().mainDisplay();
  ASSERT_EQ(start(*stream), std::nullopt);
  EXPECT_EQ(watched.current(), main);
  EXPECT_EQ(stop(*stream), std::nullopt);
  EXPECT_EQ(watched.current(), 0U);
  stream = makeStream();
  EXPECT_EQ(watched.current(), main);
  stream.reset();
  EXPECT_EQ(watched.current(), 0U);
}

TEST_F(WlScreenCaptureTest, FailsForADisplayThatIsNotThere) {
  ContentFilter filter;
  filter.display.displayID = 999'999;
  const auto stream =
      WlScreenCapture(list, watched).makeStream(filter, {}, [](const auto&) { ADD_FAILURE(); });
  EXPECT_EQ(start(*stream), PlatformError{"The display was turned off or unplugged."});
}

TEST_F(WlScreenCaptureTest, ReachesAViewerAsVideo) {
  WlWindow window;
  WorkQueues queues;
  SystemClock clock;
  LinuxProcesses processes;
  server::WlDisplays displays;
  WlScreenCapture screenCapture(list, watched);
  picture::X264Compression compression;
  const auto capturer = std::make_shared<Capturer>(
      Capturer::Parts{queues, clock, processes, displays, screenCapture, compression});
  std::mutex mutex;
  std::condition_variable arrived;
  testing::H264Decoder decoder;
  std::optional<testing::Luma> picture;
  int failures = 0;
  capturer->onAccessUnit = [&](ByteView accessUnit, Ticks) {
    const std::lock_guard lock(mutex);
    picture = decoder.decode(accessUnit);
    failures += picture ? 0 : 1;
    arrived.notify_all();
  };
  std::promise<std::exception_ptr> started;
  capturer->start(30, 4000, [&](auto error) { started.set_value(error); });
  ASSERT_EQ(started.get_future().get(), nullptr);
  EXPECT_EQ(capturer->width(), 640);
  EXPECT_EQ(capturer->height(), 400);
  window.fill(0, 0, 640, 400, 0);
  window.fill(100, 100, 200, 200, 0xffffff);
  {
    std::unique_lock lock(mutex);
    EXPECT_TRUE(arrived.wait_for(lock, std::chrono::milliseconds(testing::patience()), [&] {
      return picture && picture->pixels[200 * 640 + 200] > 225 &&
             picture->pixels[50 * 640 + 50] < 25;
    }));
  }
  capturer->stop();
  const std::lock_guard lock(mutex);
  EXPECT_EQ(failures, 0);
}

}  // namespace
}  // namespace vesk::wayland::screen::VESK_FILE
