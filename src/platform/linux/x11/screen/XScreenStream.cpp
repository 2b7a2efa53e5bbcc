#include "platform/linux/x11/screen/XScreenStream.h"

#include <pthread.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <system_error>
#include <utility>

#include "platform/linux/x11/screen/StreamRun.h"
#include "platform/linux/x11/screen/streamErrors.h"

namespace vesk::x11::screen {
namespace {

bool leavesOutThisProgram(const ContentFilter& filter) {
  return std::ranges::count(filter.excludingApplications, ::getpid(),
                            &RunningApplication::processID) > 0;
}

}  // namespace

XScreenStream::XScreenStream(const ContentFilter& filter, const StreamConfiguration& configuration,
                             const beneath::OwnWindows& ownWindows,
                             std::function<void(PlatformError)> onStopped)
    : run_(std::make_shared<StreamRun>(filter.display, configuration,
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
    refusal = streamError::noThread;
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
