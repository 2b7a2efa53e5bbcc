#include "platform/linux/x11/screen/XScreenCapture.h"

#include <gtest/gtest.h>

#include <unistd.h>

#include <algorithm>
#include <array>
#include <condition_variable>
#include <csignal>
#include <fstream>
#include <functional>
#include <future>

#include "capture/Capturer.h"
#include "platform/SystemClock.h"
#include "platform/linux/LinuxProcesses.h"
#include "platform/linux/loop/ThreadQueue.h"
#include "platform/linux/picture/X264Compression.h"
#include "platform/linux/x11/server/XDisplays.h"
#include "support/H264Decoder.h"
#include "support/ReceivedSamples.h"
#include "support/Scarcity.h"
#include "support/WorkQueues.h"
#include "support/XPainter.h"
#include "support/XResources.h"
#include "support/XServer.h"

namespace vesk::x11::screen::VESK_FILE {
namespace {

using namespace std::chrono_literals;
using testing::DisplayVariable;
using testing::WorkQueues;
using testing::XPainter;
using testing::XServer;

constexpr auto deadline = 20s;
constexpr std::uint32_t white = 0xffffff;
constexpr std::uint32_t black = 0;

std::size_t sharedSegments() {
  std::ifstream list("/proc/sysvipc/shm");
  const std::string owner = " " + std::to_string(::getpid()) + " ";
  std::size_t count = 0;
  for (std::string line; std::getline(list, line);) count += line.find(owner) != std::string::npos;
  return count;
}

class XScreenCaptureTest : public ::testing::Test {
 protected:
  explicit XScreenCaptureTest(const std::string& screen = "640x480x24") : server(screen) {}

  std::unique_ptr<ScreenStream> makeStream(PixelSize size, bool cursor = false, int fps = 60) {
    StreamConfiguration configuration;
    configuration.width = size.width;
    configuration.height = size.height;
    configuration.framesPerSecond = fps;
    configuration.showsCursor = cursor;
    ContentFilter filter;
    const auto display = server::XDisplays().mainDisplay();
    const auto pixels = server::XDisplays().pixels(display);
    filter.display = {display, pixels.width, pixels.height};
    filter.excludingApplications = {{::getpid()}};
    auto stream = XScreenCapture(ownWindows, watched, connection)
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

  XServer server;
  DisplayVariable variable{server.display()};
  beneath::OwnWindows ownWindows;
  stream::WatchedDisplay watched;
  const server::Connection connection;
  testing::ReceivedSamples received;
  loop::ThreadQueue queue{"test.samples"};
};

/// What is drawn on the root window itself is kept nowhere once a window covers it.
TEST_F(XScreenCaptureTest, HasSeenWhatAnOwnWindowCoversThatOpensAsSoonAsItHasStarted) {
  XPainter painter;
  painter.fill(0, 0, 640, 480, white);
  const xcb_window_t window = xcb_generate_id(connection.get());
  constexpr std::array<std::uint32_t, 2> values{black, 1};
  xcb_create_window(connection.get(), XCB_COPY_FROM_PARENT, window, connection.root(), 50, 50, 200,
                    100, 0, XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT,
                    XCB_CW_BACK_PIXEL | XCB_CW_OVERRIDE_REDIRECT, values.data());
  ownWindows.add(window);
  const auto stream = makeStream({640, 480});
  ASSERT_FALSE(wait([&](Completion done) {
    stream->startCapture([&, done](const auto& error) {
      const server::ReplyPtr<xcb_generic_error_t> refused(
          xcb_request_check(connection.get(), xcb_map_window_checked(connection.get(), window)));
      done(error);
    });
  }));
  ASSERT_TRUE(received.waitUntil([](auto& r) { return r.images() > 0; }));
  EXPECT_EQ(received.luma(20, 20), 235);
  EXPECT_EQ(received.luma(150, 100), 235);
  EXPECT_FALSE(stop(*stream));
}

TEST_F(XScreenCaptureTest, ShowsWhatIsDrawn) {
  XPainter painter;
  painter.fill(0, 0, 640, 480, black);
  const auto stream = makeStream({640, 480});
  ASSERT_EQ(start(*stream), std::nullopt);
  EXPECT_TRUE(received.waitUntil([](auto& r) { return r.luma(320, 240) == 16; }));
  painter.fill(300, 200, 40, 60, white);
  EXPECT_TRUE(received.waitUntil([](auto& r) { return r.luma(320, 240) == 235; }));
  EXPECT_EQ(received.luma(290, 240), 16);
  painter.fill(310, 230, 20, 20, black);
  EXPECT_TRUE(received.waitUntil([](auto& r) { return r.luma(320, 240) == 16; }));
  EXPECT_EQ(received.luma(304, 210), 235);
}

TEST_F(XScreenCaptureTest, SaysOnceThatNothingChanges) {
  const auto stream = makeStream({640, 480});
  ASSERT_EQ(start(*stream), std::nullopt);
  ASSERT_TRUE(received.waitUntil([](auto& r) { return r.idle() == 1; }));
  // A server that has only just started may still be drawing its first picture.
  const int before = received.images();
  EXPECT_GE(before, 1);
  XPainter painter;
  painter.fill(0, 0, 10, 10, white);
  ASSERT_TRUE(received.waitUntil([](auto& r) { return r.idle() == 2; }));
  EXPECT_EQ(received.images(), before + 1);
}

TEST_F(XScreenCaptureTest, SendsNoMoreImagesThanItWasAskedForHoweverMuchIsDrawn) {
  const auto stream = makeStream({640, 480}, /*cursor=*/false, /*fps=*/5);
  ASSERT_EQ(start(*stream), std::nullopt);
  ASSERT_TRUE(received.waitUntil([](auto& r) { return r.images() > 0; }));
  const auto begin = std::chrono::steady_clock::now();
  XPainter painter;
  for (int i = 1; i <= 5; ++i) {
    painter.fill(0, 0, 100, 100, i % 2 == 0 ? black : white);
    ASSERT_TRUE(received.waitUntil([i](auto& r) { return r.images() > i; }));
  }
  // A second, of which half is left to threads that run late.
  EXPECT_GE(std::chrono::steady_clock::now() - begin, 500ms);
}

TEST_F(XScreenCaptureTest, ShowsThePointerWhereverItMoves) {
  XPainter painter;
  painter.fill(0, 0, 640, 480, white);
  painter.showArrow();
  painter.movePointer(100, 100);
  const auto stream = makeStream({640, 480}, true);
  ASSERT_EQ(start(*stream), std::nullopt);
  const auto darkAt = [](int x, int y) {
    return [x, y](auto& r) {
      int darkest = 255;
      for (int dy = -12; dy < 12; ++dy) {
        for (int dx = -12; dx < 12; ++dx) darkest = std::min(darkest, r.luma(x + dx, y + dy));
      }
      return darkest >= 0 && darkest < 60;
    };
  };
  EXPECT_TRUE(received.waitUntil(darkAt(100, 100)));
  painter.movePointer(400, 300);
  EXPECT_TRUE(received.waitUntil(darkAt(400, 300)));
  EXPECT_FALSE(darkAt(100, 100)(received)) << "the pointer left a trace";
  painter.movePointer(639, 479);
  EXPECT_TRUE(received.waitUntil([&](auto& r) { return !darkAt(400, 300)(r); }));
}

TEST_F(XScreenCaptureTest, ScalesDown) {
  XPainter painter;
  painter.fill(0, 0, 640, 480, black);
  painter.fill(320, 0, 320, 480, white);
  const auto stream = makeStream({320, 240});
  ASSERT_EQ(start(*stream), std::nullopt);
  ASSERT_TRUE(received.waitUntil([](auto& r) { return r.images() > 0; }));
  EXPECT_EQ(received.luma(150, 100), 16);
  EXPECT_EQ(received.luma(170, 100), 235);
  painter.fill(100, 100, 40, 40, white);
  EXPECT_TRUE(received.waitUntil([](auto& r) { return r.luma(60, 60) == 235; }));
  EXPECT_EQ(received.luma(40, 60), 16);
}

TEST_F(XScreenCaptureTest, EndsWithTheServerAndSaysSo) {
  const auto stream = makeStream({640, 480});
  ASSERT_EQ(start(*stream), std::nullopt);
  ASSERT_TRUE(received.waitUntil([](auto& r) { return r.images() > 0; }));
  server.kill();
  EXPECT_TRUE(received.waitUntil([](auto& r) { return !r.errors().empty(); }));
  EXPECT_EQ(received.errors(), std::vector<std::string>{"The X server is gone."});
  EXPECT_EQ(stop(*stream), std::nullopt);
}

TEST_F(XScreenCaptureTest, EndsWhenTheDisplayChangesItsSizeAndBeginsAnew) {
  auto stream = makeStream({640, 480});
  ASSERT_EQ(start(*stream), std::nullopt);
  ASSERT_TRUE(received.waitUntil([](auto& r) { return r.images() > 0; }));
  const std::string small =
      "xrandr --newmode small 8 320 336 336 400 240 250 250 300 && "
      "xrandr --addmode screen small && xrandr --output screen --mode small";
  // Xvfb carries the change out and complains of it all the same; the monitors are what counts.
  const int complaint = std::system((small + " 2>/dev/null").c_str());
  ASSERT_TRUE(received.waitUntil([](auto& r) { return !r.errors().empty(); })) << complaint;
  EXPECT_EQ(received.errors().size(), 1U);
  EXPECT_TRUE(received.errors()[0].starts_with("The display ")) << received.errors()[0];
  const auto display = server::XDisplays().mainDisplay();
  EXPECT_EQ(server::XDisplays().pixels(display), (PixelSize{320, 240}));
  stream = makeStream({320, 240});
  const int before = received.images();
  EXPECT_EQ(start(*stream), std::nullopt);
  EXPECT_TRUE(received.waitUntil([&](auto& r) { return r.images() > before; }));
}

/// To whoever asks, whichever the person makes that.
TEST_F(XScreenCaptureTest, HasItsDisplayWatchedUntilItIsStopped) {
  const auto stream = makeStream({640, 480});
  ASSERT_EQ(start(*stream), std::nullopt);
  EXPECT_EQ(watched.current(), server::XDisplays().mainDisplay());
  EXPECT_EQ(stop(*stream), std::nullopt);
  EXPECT_EQ(watched.current(), 0U);
}

TEST_F(XScreenCaptureTest, FailsForADisplayThatIsNotThere) {
  StreamConfiguration configuration;
  ContentFilter filter;
  filter.display.displayID = 999'999;
  const auto stream = XScreenCapture(ownWindows, watched, connection)
                          .makeStream(filter, configuration, [](const auto&) { ADD_FAILURE(); });
  const auto error = start(*stream);
  ASSERT_TRUE(error);
  EXPECT_EQ(error->localizedDescription, "The display was turned off or unplugged.");
}

TEST_F(XScreenCaptureTest, FailsWithoutAThreadAndLetsGoOfItsCompletion) {
  const auto stream = makeStream({640, 480});
  const auto held = std::make_shared<int>();
  std::optional<PlatformError> error;
  sigset_t before;
  ::pthread_sigmask(SIG_SETMASK, nullptr, &before);
  {
    const testing::NoThreads scarcity;
    stream->startCapture([&error, held](auto refusal) { error = std::move(refusal); });
  }
  EXPECT_EQ(error, PlatformError{"This program has too many threads running."});
  EXPECT_EQ(held.use_count(), 1);
  sigset_t after;
  ::pthread_sigmask(SIG_SETMASK, nullptr, &after);
  EXPECT_EQ(::sigismember(&after, SIGTERM), ::sigismember(&before, SIGTERM));
  EXPECT_EQ(start(*stream), std::nullopt);
  EXPECT_EQ(stop(*stream), std::nullopt);
}

TEST_F(XScreenCaptureTest, FailsWithoutADescriptorInWordsThatSaySo) {
  std::optional<PlatformError> madeWithout;
  std::optional<PlatformError> startedWithout;
  auto stream = makeStream({640, 480});
  {
    const testing::NoDescriptors scarcity;
    startedWithout = start(*stream);
    const auto another =
        XScreenCapture(ownWindows, watched, connection).makeStream({}, {}, [](const auto&) {
          ADD_FAILURE();
        });
    madeWithout = start(*another);
  }
  const PlatformError expected{"This program has too many files open."};
  EXPECT_EQ(startedWithout, expected);
  EXPECT_EQ(madeWithout, expected);
  stream = makeStream({640, 480});
  EXPECT_EQ(start(*stream), std::nullopt);
}

TEST_F(XScreenCaptureTest, IsOfferedOnlyByAServerThatGrantsIt) {
  const auto contentOf = [](const server::Connection& asked) {
    std::optional<ShareableContent> content;
    const beneath::OwnWindows own;
    stream::WatchedDisplay nothing;
    XScreenCapture(own, nothing, asked).shareableContent([&](auto offered, const auto& error) {
      content = std::move(offered);
      EXPECT_NE(content.has_value(), error.has_value());
    });
    return content;
  };
  EXPECT_TRUE(contentOf(connection));
  for (const auto* extension : {"COMPOSITE", "DAMAGE", "RENDER"}) {
    const XServer lacking("640x480x24", {"-extension", extension});
    const DisplayVariable itsDisplay(lacking.display());
    EXPECT_FALSE(contentOf(server::Connection())) << extension;
  }
}

TEST_F(XScreenCaptureTest, LeavesNothingBehindHoweverOftenItRuns) {
  const auto segments = sharedSegments();
  // The server lets go of everything when it sees that a connection is gone.
  const auto waitWhile = [](const auto& condition) {
    const auto end = std::chrono::steady_clock::now() + deadline;
    while (condition() && std::chrono::steady_clock::now() < end) std::this_thread::sleep_for(1ms);
  };
  {
    // What the server makes once and keeps is made for the first stream.
    const auto stream = makeStream({640, 480});
    ASSERT_EQ(start(*stream), std::nullopt);
    ASSERT_EQ(stop(*stream), std::nullopt);
  }
  waitWhile([&] { return sharedSegments() != segments; });
  const auto inProcess = testing::countProcessResources();
  const auto inServer = testing::countXResources();
  for (int i = 0; i < 200; ++i) {
    const auto stream = makeStream({640, 480});
    ASSERT_EQ(start(*stream), std::nullopt) << i;
    if (i % 2 == 0) {
      ASSERT_EQ(stop(*stream), std::nullopt) << i;
    }
  }
  waitWhile([&] { return sharedSegments() != segments || testing::countXResources() != inServer; });
  EXPECT_EQ(sharedSegments(), segments);
  EXPECT_EQ(testing::countXResources(), inServer);
  EXPECT_EQ(testing::countProcessResources(), inProcess);
}

TEST_F(XScreenCaptureTest, ReachesAViewerAsVideo) {
  XPainter painter;
  painter.fill(0, 0, 640, 480, black);
  WorkQueues queues;
  SystemClock clock;
  LinuxProcesses processes;
  server::XDisplays displays;
  XScreenCapture screenCapture(ownWindows, watched, connection);
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
  EXPECT_EQ(capturer->height(), 480);
  painter.fill(100, 100, 200, 200, white);
  {
    std::unique_lock lock(mutex);
    EXPECT_TRUE(arrived.wait_for(lock, deadline, [&] {
      return picture && picture->pixels[200 * 640 + 200] > 225 &&
             picture->pixels[50 * 640 + 50] < 25;
    }));
  }
  capturer->stop();
  const std::lock_guard lock(mutex);
  EXPECT_EQ(failures, 0);
}

}  // namespace
}  // namespace vesk::x11::screen::VESK_FILE
