#include "platform/linux/x11/screen/XScreenStream.h"

#include <poll.h>
#include <pthread.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <csignal>
#include <mutex>
#include <system_error>
#include <utility>
#include <vector>

#include "platform/Descriptor.h"
#include "platform/linux/picture/ImagePainter.h"
#include "platform/linux/x11/screen/ScreenGrabber.h"

namespace vesk::x11::screen {
namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::nanoseconds;

const PlatformError serverGone{"The X server is gone."};
const PlatformError displayGone{"The display was turned off or unplugged."};
const PlatformError displayChanged{"The display changed its size or place."};
const PlatformError noThread{"This program has too many threads running."};
const PlatformError noDescriptor{"This program has too many files open."};
const PlatformError notReadable{"The X server does not let its screen be read."};

std::optional<server::Monitor> monitorOf(const server::Connection& connection, DisplayId display) {
  const auto all = server::monitors(connection);
  const auto found = std::ranges::find(all, display, &server::Monitor::output);
  if (found == all.end()) return std::nullopt;
  return *found;
}

bool sameArea(const server::Monitor& a, const server::Monitor& b) {
  return a.x == b.x && a.y == b.y && a.width == b.width && a.height == b.height;
}

Descriptor eventDescriptor() { return Descriptor(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)); }

/// Whether a connection that failed has failed for another reason than this process's own limit.
bool hasFreeDescriptor() { return static_cast<bool>(eventDescriptor()); }

bool leavesOutThisProgram(const ContentFilter& filter) {
  return std::ranges::count(filter.excludingApplications, ::getpid(),
                            &RunningApplication::processID) > 0;
}

}  // namespace

/// What the stream and its thread share. Samples go out under the lock that stopping takes, so that
/// none does once `stop` has returned.
class XScreenStream::Run {
 public:
  Run(DisplayId display, const StreamConfiguration& configuration,
      const beneath::OwnWindows* leftOut, std::function<void(PlatformError)> onStopped)
      : display_(display),
        configuration_(configuration),
        leftOut_(leftOut),
        interval_(nanoseconds(std::chrono::seconds(1)) /
                  std::max(configuration.framesPerSecond, 1)),
        onStopped_(std::move(onStopped)),
        wake_(eventDescriptor()) {}

  void setOutput(Output output, SerialQueue& queue) {
    output_ = std::move(output);
    queue_ = &queue;
  }

  void stop(Completion completion) {
    {
      const std::lock_guard lock(mutex_);
      stopping_ = true;
      if (!ended_ && completion) stopped_ = std::exchange(completion, nullptr);
    }
    const std::uint64_t one = 1;
    [[maybe_unused]] const auto ignored = ::write(wake_.get(), &one, sizeof one);
    if (completion) completion(std::nullopt);
  }

  /// The thread's whole life.
  void run(Completion started) {
    const auto error = open();
    started(error);
    // Whoever started the stream may hold it in the completion. Kept any longer, the thread would
    // hold the stream, and the stream its thread, for ever.
    started = nullptr;
    if (!error) {
      const auto end = stream();
      painter_.reset();
      grabber_.reset();
      if (end && !isStopping()) onStopped_(*end);
    }
    Completion stopped;
    {
      const std::lock_guard lock(mutex_);
      ended_ = true;
      stopped = std::exchange(stopped_, nullptr);
    }
    if (stopped) stopped(std::nullopt);
  }

 private:
  std::optional<PlatformError> open() {
    // Without it the stream could be neither stopped nor put to sleep.
    if (!wake_) return noDescriptor;
    const server::Connection connection;
    if (!connection) return hasFreeDescriptor() ? serverGone : noDescriptor;
    const auto monitor = monitorOf(connection, display_);
    if (!monitor) return displayGone;
    monitor_ = *monitor;
    grabber_ = std::make_unique<ScreenGrabber>(monitor_, configuration_.showsCursor, leftOut_);
    if (!*grabber_) return hasFreeDescriptor() ? notReadable : noDescriptor;
    // Own windows come up once the stream has started. What they cover then has been seen before.
    auto everything = grabber_->grab();
    if (!everything) return notReadable;
    unsent_ = std::move(*everything);
    painter_ = std::make_unique<picture::ImagePainter>(
        PixelSize{monitor_.width, monitor_.height},
        PixelSize{configuration_.width, configuration_.height});
    return std::nullopt;
  }

  /// Sends images until it is stopped or the display fails; the failure, if any.
  std::optional<PlatformError> stream() {
    bool drawn = true;
    bool idle = false;
    auto due = Clock::now();
    while (!isStopping()) {
      const auto news = grabber_->readEvents();
      if (!news) return serverGone;
      if (news->layoutChanged) {
        if (auto error = layoutError()) return error;
      }
      drawn = drawn || news->drawn;
      const auto now = Clock::now();
      if (now < due) {
        wait(due - now, false);
        continue;
      }
      due = now + interval_;
      bool sent = false;
      if (drawn || grabber_->cursorChanged()) {
        if (auto error = sendImage(sent)) return error;
        drawn = false;
      }
      if (sent || grabber_->isHeldBack()) {
        idle = false;
      } else {
        if (!std::exchange(idle, true)) {
          deliver({true, nullptr, static_cast<int>(FrameStatus::idle)});
        }
        // Whatever is drawn next need not wait for the pointer's turn.
        wait(interval_, true);
        due = Clock::now();
      }
    }
    return std::nullopt;
  }

  std::optional<PlatformError> layoutError() const {
    const auto now = monitorOf(grabber_->connection(), display_);
    if (!now) return grabber_->connection() ? displayGone : serverGone;
    if (!sameArea(*now, monitor_)) return displayChanged;
    return std::nullopt;
  }

  /// Nothing is sent when what was drawn is not to be seen.
  std::optional<PlatformError> sendImage(bool& sent) {
    auto changed = grabber_->grab();
    if (!changed)
      return layoutError().value_or(grabber_->connection() ? displayChanged : serverGone);
    changed->insert(changed->end(), unsent_.begin(), unsent_.end());
    unsent_.clear();
    sent = !changed->empty();
    if (!sent) return std::nullopt;
    const auto image = painter_->paint(grabber_->pixels(), grabber_->stride(), *changed);
    deliver({true, image, static_cast<int>(FrameStatus::complete)});
    return std::nullopt;
  }

  void deliver(StreamSample sample) {
    const std::lock_guard lock(mutex_);
    if (stopping_ || queue_ == nullptr) return;
    queue_->async([output = output_, sample = std::move(sample)] {
      output(sample, StreamOutputType::screen);
    });
  }

  /// Sleeps until it is stopped, the time is over or, if wished, the server has something to tell.
  void wait(nanoseconds time, bool alsoForTheServer) const {
    std::array<pollfd, 2> descriptors{pollfd{wake_.get(), POLLIN, 0},
                                      pollfd{grabber_->descriptor(), POLLIN, 0}};
    constexpr auto perSecond = 1'000'000'000;
    const timespec timeout{time.count() / perSecond, time.count() % perSecond};
    ::ppoll(descriptors.data(), alsoForTheServer ? 2 : 1, &timeout, nullptr);
  }

  bool isStopping() const {
    const std::lock_guard lock(mutex_);
    return stopping_;
  }

  DisplayId display_;
  StreamConfiguration configuration_;
  const beneath::OwnWindows* leftOut_;
  nanoseconds interval_;
  std::function<void(PlatformError)> onStopped_;
  Descriptor wake_;
  Output output_;
  SerialQueue* queue_ = nullptr;

  mutable std::mutex mutex_;
  bool stopping_ = false;
  bool ended_ = false;
  Completion stopped_;

  server::Monitor monitor_;
  std::unique_ptr<ScreenGrabber> grabber_;
  std::unique_ptr<picture::ImagePainter> painter_;
  std::vector<PixelRect> unsent_;  ///< of the monitor, grabbed and in no image yet
};

XScreenStream::XScreenStream(const ContentFilter& filter, const StreamConfiguration& configuration,
                             const beneath::OwnWindows& ownWindows,
                             std::function<void(PlatformError)> onStopped)
    : run_(std::make_shared<Run>(filter.display.displayID, configuration,
                                 leavesOutThisProgram(filter) ? &ownWindows : nullptr,
                                 std::move(onStopped))) {}

XScreenStream::~XScreenStream() {
  run_->stop(nullptr);
  if (!thread_.joinable()) return;
  if (thread_.get_id() == std::this_thread::get_id()) {
    thread_.detach();
  } else {
    thread_.join();
  }
}

std::optional<PlatformError> XScreenStream::addOutput(Output output, SerialQueue& queue) {
  run_->setOutput(std::move(output), queue);
  return std::nullopt;
}

void XScreenStream::startCapture(Completion completion) {
  if (thread_.joinable()) return completion(PlatformError{"The stream was started before."});
  // Signals are for the main thread; a thread starts with its maker's mask.
  sigset_t all;
  sigset_t before;
  ::sigfillset(&all);
  ::pthread_sigmask(SIG_SETMASK, &all, &before);
  std::optional<PlatformError> refusal;
  try {
    thread_ = std::thread([run = run_, completion]() mutable {
      ::pthread_setname_np(::pthread_self(), "screen");
      run->run(std::move(completion));
    });
  } catch (const std::system_error&) {
    refusal = noThread;
  }
  ::pthread_sigmask(SIG_SETMASK, &before, nullptr);
  if (refusal) completion(refusal);
}

void XScreenStream::stopCapture(Completion completion) {
  if (!thread_.joinable()) return completion(std::nullopt);
  // The completion may own this stream and is let go of on the stream's thread, perhaps before
  // `stop` has returned here.
  const auto run = run_;
  run->stop(std::move(completion));
}

}  // namespace vesk::x11::screen
