#include "platform/linux/stream/StreamRun.h"

#include <poll.h>

#include <algorithm>
#include <array>
#include <utility>

#include "platform/linux/stream/streamErrors.h"

namespace vesk::stream {

using std::chrono::nanoseconds;

StreamRun::StreamRun(std::unique_ptr<ImageSource> images, int framesPerSecond,
                     std::function<void(PlatformError)> onStopped)
    : onStopped_(std::move(onStopped)),
      interval_(nanoseconds(std::chrono::seconds(1)) / std::max(framesPerSecond, 1)),
      images_(std::move(images)) {}

void StreamRun::run(Completion started) {
  const auto error = open();
  started(error);
  // Whoever started the stream may hold it in the completion. Kept any longer, the thread would
  // hold the stream, and the stream its thread, for ever.
  started = nullptr;
  if (!error) {
    const auto end = stream();
    images_->close();
    if (end && !outlet_.isStopped()) onStopped_(*end);
  }
  outlet_.end();
}

std::optional<PlatformError> StreamRun::open() {
  // Without it the stream could be neither stopped nor put to sleep.
  if (!outlet_) return streamError::noDescriptor;
  return images_->open(outlet_.descriptor());
}

/// Sends images until it is stopped or the display fails; the failure, if any.
std::optional<PlatformError> StreamRun::stream() {
  bool idle = false;
  auto due = Clock::now();
  while (!outlet_.isStopped()) {
    if (auto error = images_->follow()) return error;
    const auto now = Clock::now();
    if (now < due) {
      wait(due - now, /*alsoForTheDesktop=*/false);
      continue;
    }
    due = now + interval_;
    const auto taken = images_->mayDiffer() ? images_->take() : ImageSource::Taken{};
    if (taken.error) return taken.error;
    if (taken.image) outlet_.deliver({true, taken.image, static_cast<int>(FrameStatus::complete)});
    if (taken.image || images_->isHeldBack()) {
      idle = false;
      continue;
    }
    if (!std::exchange(idle, true)) {
      outlet_.deliver({true, nullptr, static_cast<int>(FrameStatus::idle)});
    }
    // Whatever is drawn next need not wait for the pointer's turn, nor for the end of its rest.
    if (!images_->hasNews()) {
      wait(std::max(interval_, images_->nextLook() - Clock::now()), /*alsoForTheDesktop=*/true);
    }
    due = Clock::now();
  }
  return std::nullopt;
}

/// Sleeps until it is stopped, the time is over or, if wished, the desktop has something to tell.
void StreamRun::wait(Clock::duration time, bool alsoForTheDesktop) const {
  std::array<pollfd, 2> descriptors{pollfd{outlet_.descriptor(), POLLIN, 0},
                                    pollfd{images_->descriptor(), POLLIN, 0}};
  constexpr auto perSecond = 1'000'000'000;
  const auto whole = nanoseconds(time).count();
  const timespec timeout{whole / perSecond, whole % perSecond};
  ::ppoll(descriptors.data(), alsoForTheDesktop ? 2 : 1, &timeout, nullptr);
}

}  // namespace vesk::stream
