#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>
#include <xcb/xcbext.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <deque>
#include <new>
#include <random>
#include <thread>

#include "platform/linux/banner/OverlayShapes.h"
#include "platform/linux/x11/screen/ScreenGrabber.h"
#include "platform/linux/x11/server/Randr.h"
#include "support/Again.h"
#include "support/Patience.h"
#include "support/PlainWindow.h"
#include "support/XPainter.h"
#include "support/XServer.h"

namespace vesk::testing::VESK_FILE {
namespace {

/// Milliseconds beyond anything that the server does for another client at a stretch.
constexpr int longestService = 5000;

/// A process of its own that shows own windows and takes pictures without them, one after the
/// other. It is killed at the end of the object's life.
class CapturingProcess {
 public:
  CapturingProcess() : pictures_(shared()), pid_(::fork()) {
    if (pid_ == 0) capture(*pictures_);
  }
  ~CapturingProcess() {
    ::kill(pid_, SIGKILL);
    ::waitpid(pid_, nullptr, 0);
    ::munmap(pictures_, sizeof *pictures_);
  }
  CapturingProcess(const CapturingProcess&) = delete;
  CapturingProcess& operator=(const CapturingProcess&) = delete;

  /// Whether it comes to take so many pictures more.
  bool takesPictures(int more) const {
    const int before = *pictures_;
    return waitUntil([&] { return *pictures_ >= before + more; });
  }

  /// Returns once it does nothing any more.
  void halt() const {
    ::kill(pid_, SIGSTOP);
    ::waitpid(pid_, nullptr, WUNTRACED);
  }
  void goOn() const { ::kill(pid_, SIGCONT); }

 private:
  static std::atomic<int>* shared() {
    void* const memory = ::mmap(nullptr, sizeof(std::atomic<int>), PROT_READ | PROT_WRITE,
                                MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    return new (memory) std::atomic<int>(0);
  }

  [[noreturn]] static void capture(std::atomic<int>& pictures) {
    const auto monitor = x11::server::monitors(x11::server::Connection()).at(0);
    x11::beneath::OwnWindows ownWindows;
    x11::screen::ScreenGrabber grabber(monitor, true, &ownWindows);
    std::deque<PlainWindow> windows;
    auto frames = banner::borderEdges({0, 0, monitor.width, monitor.height}, 8);
    frames.push_back({200, 0, 400, 26});
    for (const auto& frame : frames) {
      ownWindows.add(windows.emplace_back(frame, 0xff00ff).id());
      windows.back().show();
    }
    while (grabber.readEvents() && grabber.grab()) ++pictures;
    ::_exit(EXIT_FAILURE);
  }

  std::atomic<int>* pictures_;
  pid_t pid_;
};

/// Whether the server has time for this client.
bool isServed(const x11::server::Connection& connection) {
  auto* const c = connection.get();
  const auto request = xcb_get_input_focus(c);
  xcb_flush(c);
  return waitUntil(
      [&] {
        void* reply = nullptr;
        if (xcb_poll_for_reply(c, request.sequence, &reply, nullptr) == 0) return false;
        const x11::server::FreeReply free;
        free(reply);
        return true;
      },
      longestService);
}

TEST(StoppedCaptureTest, NeverHoldsTheServer) {
  constexpr int stops = 60;
  const XServer server("1280x800x24");
  const DisplayVariable variable(server.display());
  const CapturingProcess capturing;
  PlainWindow window({150, 5, 300, 200}, 0x40c040);
  window.show();
  const Again bustle(std::chrono::microseconds(0), [&](int i) {
    window.fill({i % 200, 0, 20, 40}, static_cast<std::uint32_t>(i) * 77);
    window.move(150 + i % 97, 5 + i % 31);
  });
  const x11::server::Connection other;
  std::mt19937 random(1);
  std::uniform_int_distribution microseconds(0, 3000);
  for (int i = 0; i < stops; ++i) {
    ASSERT_TRUE(capturing.takesPictures(2)) << "stop " << i;
    std::this_thread::sleep_for(std::chrono::microseconds(microseconds(random)));
    capturing.halt();
    const bool answers = isServed(other);
    capturing.goOn();
    ASSERT_TRUE(answers) << "held by stop " << i;
  }
}

}  // namespace
}  // namespace vesk::testing::VESK_FILE
