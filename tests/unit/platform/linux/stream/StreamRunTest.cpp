#include "platform/linux/stream/StreamRun.h"

#include <gtest/gtest.h>

#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <fstream>
#include <future>
#include <mutex>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>

#include "platform/linux/loop/ThreadQueue.h"
#include "platform/linux/picture/Nv12Image.h"
#include "platform/linux/x11/screen/MonitorImages.h"
#include "platform/linux/x11/server/XDisplays.h"
#include "support/Patience.h"
#include "support/XMouse.h"
#include "support/XPainter.h"
#include "support/XResources.h"
#include "support/XServer.h"

namespace vesk::stream::VESK_FILE {
namespace {

using namespace std::chrono_literals;
using testing::DisplayVariable;
using testing::waitUntil;
using testing::XMouse;
using testing::XPainter;
using testing::XServer;

/// A pointer on a still, white screen, and the thread that streams it.
class StreamRunTest : public ::testing::Test {
 protected:
  explicit StreamRunTest(bool showsCursor = true)
      : run(std::make_unique<x11::screen::MonitorImages>(display(), configuration(showsCursor),
                                                         nullptr),
            framesPerSecond, [](const auto&) { ADD_FAILURE(); }) {
    painter.fill(0, 0, 640, 480, 0xffffff);
    painter.showArrow();
    mouse.move(100, 100);
    run.setOutput([this](const auto& sample, auto) { add(sample); }, queue);
    std::promise<std::optional<PlatformError>> started;
    thread = std::thread([&] {
      threadId = ::gettid();
      run.run([&](auto error) { started.set_value(std::move(error)); });
    });
    EXPECT_EQ(started.get_future().get(), std::nullopt);
    EXPECT_TRUE(!showsCursor || isSeenAt(100, 100));
  }

  ~StreamRunTest() override { stop(); }

  void stop() {
    run.stop(nullptr);
    if (thread.joinable()) thread.join();
  }

  static StreamConfiguration configuration(bool showsCursor) {
    StreamConfiguration chosen;
    chosen.width = 640;
    chosen.height = 480;
    chosen.framesPerSecond = framesPerSecond;
    chosen.showsCursor = showsCursor;
    return chosen;
  }

  static ShareableDisplay display() {
    x11::server::XDisplays displays;
    const auto id = displays.mainDisplay();
    return {id, displays.pixels(id).width, displays.pixels(id).height};
  }

  void add(const StreamSample& sample) {
    const std::lock_guard lock(mutex);
    if (sample.status == static_cast<int>(FrameStatus::idle)) ++idleSamples;
    if (auto next = std::dynamic_pointer_cast<const picture::Nv12Image>(sample.image)) image = next;
  }

  bool isSeenAt(int x, int y) {
    return waitUntil([&] {
      const std::lock_guard lock(mutex);
      return darkestNear(x, y) < 60;
    });
  }

  bool hasSaidIdle(int times) {
    return waitUntil([&] {
      const std::lock_guard lock(mutex);
      return idleSamples >= times;
    });
  }

  int darkestNear(int x, int y) const {
    int darkest = 255;
    for (int dy = -12; image != nullptr && dy < 12; ++dy) {
      const auto* const row = image->luma() + (y + dy) * image->stride() + x;
      darkest = std::min<int>(darkest, *std::min_element(row - 12, row + 12));
    }
    return darkest;
  }

  /// How often the thread has gone to sleep so far, be it for an answer of the server.
  int sleeps() const {
    std::ifstream status("/proc/self/task/" + std::to_string(threadId) + "/status");
    const std::string wanted = "voluntary_ctxt_switches:";
    for (std::string line; std::getline(status, line);) {
      if (line.starts_with(wanted)) return std::stoi(line.substr(wanted.size()));
    }
    throw std::runtime_error("the thread is gone");
  }

  /// Waits for a second in which the thread hardly ever wakes up.
  bool comesToRest(int mostSleeps = mostSleepsAtRest) {
    auto begin = std::chrono::steady_clock::now();
    int before = sleeps();
    return waitUntil([&] {
      if (std::chrono::steady_clock::now() - begin < 1s) return false;
      begin = std::chrono::steady_clock::now();
      const int slept = sleeps() - std::exchange(before, sleeps());
      return slept <= mostSleeps;
    });
  }

  /// Without a rest it sleeps as often as that, and twice for the answers.
  static constexpr int framesPerSecond = 120;
  static constexpr int mostSleepsAtRest = 80;

  XServer server{"640x480x24"};
  DisplayVariable variable{server.display()};
  XPainter painter;
  XMouse mouse;
  loop::ThreadQueue queue{"test.samples"};
  stream::StreamRun run;
  std::thread thread;
  std::atomic<int> threadId = 0;
  std::mutex mutex;
  std::shared_ptr<const picture::Nv12Image> image;
  int idleSamples = 0;
};

TEST_F(StreamRunTest, SleepsWhileThePointerRestsAndNothingIsDrawn) { EXPECT_TRUE(comesToRest()); }

TEST_F(StreamRunTest, ShowsAPointerThatMovesAfterARest) {
  for (const int x : {200, 300}) {
    ASSERT_TRUE(comesToRest());
    mouse.move(x, 100);
    EXPECT_TRUE(isSeenAt(x, 100)) << x;
    mouse.move(x, 200);
    EXPECT_TRUE(isSeenAt(x, 200)) << x;
  }
}

TEST_F(StreamRunTest, ShowsAPointerThatAProgramPutsElsewhereAfterARest) {
  ASSERT_TRUE(comesToRest());
  painter.movePointer(300, 200);
  EXPECT_TRUE(isSeenAt(300, 200));
}

TEST_F(StreamRunTest, ShowsAPointerThatMovesAfterARestThoughAProgramHasGrabbedIt) {
  XMouse other;
  other.grab();
  ASSERT_TRUE(comesToRest());
  mouse.move(300, 200);
  EXPECT_TRUE(isSeenAt(300, 200));
}

TEST_F(StreamRunTest, EndsInTheMiddleOfARest) {
  ASSERT_TRUE(comesToRest());
  const auto clients = testing::countXResources().clients;
  stop();
  // What the server was asked to tell goes with the connection.
  EXPECT_TRUE(waitUntil([&] { return testing::countXResources().clients == clients - 1; }));
}

TEST_F(StreamRunTest, ShowsWhatIsDrawnWhileThePointerRests) {
  ASSERT_TRUE(comesToRest());
  painter.fill(400, 300, 50, 50, 0);
  EXPECT_TRUE(isSeenAt(410, 310));
}

class WithoutAPointerTest : public StreamRunTest {
 protected:
  WithoutAPointerTest() : StreamRunTest(/*showsCursor=*/false) {}
};

TEST_F(WithoutAPointerTest, SleepsForAsLongAsNothingIsDrawn) {
  ASSERT_TRUE(comesToRest(0));
  painter.fill(400, 300, 50, 50, 0);
  EXPECT_TRUE(isSeenAt(410, 310));
}

TEST_F(WithoutAPointerTest, SaysOnceAfterEachChangeThatNothingFollows) {
  for (int i = 1; i < 4; ++i) {
    EXPECT_TRUE(hasSaidIdle(i));
    ASSERT_TRUE(comesToRest(0));
    const std::lock_guard lock(mutex);
    EXPECT_EQ(idleSamples, i);
    painter.fill(40 * i, 300, 20, 20, 0);
  }
}

}  // namespace
}  // namespace vesk::stream::VESK_FILE
