// Streams a private X server through the program's own capture and encoder, or waits while another
// program does, and prints what that cost. See README.md.

#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <future>
#include <iomanip>
#include <memory>
#include <mutex>
#include <numeric>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "capture/Capturer.h"
#include "platform/SystemClock.h"
#include "platform/linux/LinuxProcesses.h"
#include "platform/linux/banner/OverlayShapes.h"
#include "platform/linux/loop/ThreadQueue.h"
#include "platform/linux/picture/X264Compression.h"
#include "platform/linux/x11/overlay/OverlayWindow.h"
#include "platform/linux/x11/screen/XScreenCapture.h"
#include "platform/linux/x11/server/XDisplays.h"

namespace {

using namespace vesk;
using std::chrono::steady_clock;

class WorkQueues final : public Queues {
 public:
  MainQueue& main() override { std::abort(); }
  std::unique_ptr<SerialQueue> makeSerialQueue(const std::string& label) override {
    return std::make_unique<loop::ThreadQueue>(label);
  }
  std::unique_ptr<Timer> makeTimer(SerialQueue& queue, TimerSchedule schedule,
                                   Task handler) override {
    return static_cast<loop::ThreadQueue&>(queue).makeTimer(schedule, std::move(handler));
  }
};

double cpuMilliseconds() {
  rusage usage{};
  ::getrusage(RUSAGE_SELF, &usage);
  const auto milliseconds = [](const timeval& time) {
    return static_cast<double>(time.tv_sec) * 1000 + static_cast<double>(time.tv_usec) / 1000;
  };
  return milliseconds(usage.ru_utime) + milliseconds(usage.ru_stime);
}

std::string residentPeak() {
  std::ifstream status("/proc/self/status");
  for (std::string line; std::getline(status, line);) {
    if (line.starts_with("VmHWM:")) return std::to_string(std::atoi(line.c_str() + 6) / 1024);
  }
  return "?";
}

/// Windows where the program has its strip and its border.
class OwnOverlays {
 public:
  explicit OwnOverlays(x11::beneath::OwnWindows& ownWindows) {
    const auto monitor = x11::server::monitors(connection_).at(0);
    const picture::PixelRect all{monitor.x, monitor.y, monitor.width, monitor.height};
    auto frames = banner::borderEdges(all, 8);
    frames.push_back({all.x + all.width / 2 - 320, all.y, 640, 26});
    for (const auto& frame : frames) {
      windows_.push_back(std::make_unique<x11::overlay::OverlayWindow>(
          connection_, ownWindows, frame, x11::overlay::OverlayWindow::Kind::translucent,
          "_NET_WM_WINDOW_TYPE_DOCK"));
      windows_.back()->fill({0.8, 0.1, 0.1, 1});
      windows_.back()->map();
    }
    xcb_flush(connection_.get());
  }

 private:
  x11::server::Connection connection_;
  std::vector<std::unique_ptr<x11::overlay::OverlayWindow>> windows_;
};

struct Unit {
  std::size_t size = 0;
  steady_clock::time_point at;
};

/// What the capturer sends, to a file, and how much of it when.
class Recording {
 public:
  explicit Recording(std::string file) : file_(std::move(file)), stream_(file_, std::ios::binary) {}

  /// On whichever thread the capturer sends.
  void add(ByteView unit) {
    const std::lock_guard lock(mutex_);
    units_.push_back({unit.size(), steady_clock::now()});
    stream_.write(reinterpret_cast<const char*>(unit.data()),
                  static_cast<std::streamsize>(unit.size()));
  }

  /// Once nothing is added any more.
  void close() {
    stream_.close();
    std::ofstream index(file_ + ".index");
    index << std::fixed << std::setprecision(6);
    for (const auto& unit : units_) {
      // The clock of the log is the one that the content's log uses too.
      index << std::chrono::duration<double>(unit.at.time_since_epoch()).count() << ' ' << unit.size
            << '\n';
    }
  }

  /// The sizes in bytes of what came then, sorted.
  std::vector<std::size_t> sizes(steady_clock::time_point from, steady_clock::time_point to) const {
    std::vector<std::size_t> sizes;
    for (const auto& unit : units_) {
      if (unit.at >= from && unit.at <= to) sizes.push_back(unit.size);
    }
    std::sort(sizes.begin(), sizes.end());
    return sizes;
  }

 private:
  std::string file_;
  std::ofstream stream_;
  std::mutex mutex_;
  std::vector<Unit> units_;
};

void report(double cpu, double seconds, const std::vector<std::size_t>& sizes) {
  const double bits = 8 * std::accumulate(sizes.begin(), sizes.end(), 0.0);
  std::printf("%.1f %.0f %zu %zu %s\n", cpu, bits / seconds / 1000, sizes.size(),
              sizes.empty() ? 0 : sizes[sizes.size() / 2], residentPeak().c_str());
}

}  // namespace

/// Arguments: seconds to warm up, seconds to measure, frames a second, kbit/s, file for the stream,
/// and "overlays" to show the strip and the border meanwhile.
int main(int argc, char* argv[]) {
  if (argc < 6) return EXIT_FAILURE;
  const double warmUp = std::atof(argv[1]);
  const double seconds = std::atof(argv[2]);
  WorkQueues queues;
  SystemClock clock;
  LinuxProcesses processes;
  x11::server::XDisplays displays;
  x11::beneath::OwnWindows ownWindows;
  const x11::server::Connection connection;
  stream::WatchedDisplay watched;
  x11::screen::XScreenCapture screenCapture(ownWindows, watched, connection);
  picture::X264Compression compression;
  const auto capturer = std::make_shared<Capturer>(
      Capturer::Parts{queues, clock, processes, displays, screenCapture, compression});
  Recording recording(argv[5]);
  capturer->onAccessUnit = [&](ByteView unit, Ticks) { recording.add(unit); };
  std::promise<std::exception_ptr> started;
  capturer->start(std::atoi(argv[3]), std::atoi(argv[4]),
                  [&](auto error) { started.set_value(error); });
  if (started.get_future().get() != nullptr) return EXIT_FAILURE;
  std::optional<OwnOverlays> overlays;
  if (argc > 6) overlays.emplace(ownWindows);
  std::this_thread::sleep_for(std::chrono::duration<double>(warmUp));
  const auto from = steady_clock::now();
  const double before = cpuMilliseconds();
  std::this_thread::sleep_for(std::chrono::duration<double>(seconds));
  const double cpu = (cpuMilliseconds() - before) / seconds;
  const auto to = steady_clock::now();
  // Hidden before the stream ends: what they cover is kept only as long as it runs.
  overlays.reset();
  capturer->stop();
  recording.close();
  report(cpu, seconds, recording.sizes(from, to));
  return EXIT_SUCCESS;
}
