#include "platform/linux/stream/ThreadedStream.h"

#include <pthread.h>

#include <csignal>
#include <system_error>
#include <utility>

#include "platform/linux/stream/StreamRun.h"
#include "platform/linux/stream/streamErrors.h"

namespace vesk::stream {
ThreadedStream::ThreadedStream(std::unique_ptr<ImageSource> images, int framesPerSecond,
                               std::function<void(PlatformError)> onStopped)
    : run_(std::make_shared<StreamRun>(std::move(images), framesPerSecond, std::move(onStopped))) {}

ThreadedStream::~ThreadedStream() {
  run_->stop(nullptr);
  if (!thread_.joinable()) return;
  if (thread_.get_id() == std::this_thread::get_id()) {
    thread_.detach();
  } else {
    thread_.join();
  }
}

std::optional<PlatformError> ThreadedStream::addOutput(Output output, SerialQueue& queue) {
  run_->setOutput(std::move(output), queue);
  return std::nullopt;
}

void ThreadedStream::startCapture(Completion completion) {
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

void ThreadedStream::stopCapture(Completion completion) {
  if (!thread_.joinable()) return completion(std::nullopt);
  // The completion may own this stream and is let go of on the stream's thread, perhaps before
  // `stop` has returned here.
  const auto run = run_;
  run->stop(std::move(completion));
}

}  // namespace vesk::stream
