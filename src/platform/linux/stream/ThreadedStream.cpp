#include "platform/linux/stream/ThreadedStream.h"

#include <utility>

#include "platform/linux/stream/StreamRun.h"
#include "platform/linux/stream/startThread.h"
#include "platform/linux/stream/streamErrors.h"

namespace vesk::stream {
ThreadedStream::ThreadedStream(std::unique_ptr<ImageSource> images, int framesPerSecond,
                               std::function<void(PlatformError)> onStopped,
                               WatchedDisplay::Hold watched)
    : run_(std::make_shared<StreamRun>(std::move(images), framesPerSecond, std::move(onStopped))),
      watched_(std::move(watched)) {}

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
  auto thread = startThread(
      "screen", [run = run_, completion]() mutable { run->run(std::move(completion)); });
  if (!thread) return completion(streamError::noThread);
  thread_ = std::move(*thread);
}

void ThreadedStream::stopCapture(Completion completion) {
  watched_.reset();
  if (!thread_.joinable()) return completion(std::nullopt);
  // The completion may own this stream and is let go of on the stream's thread, perhaps before
  // `stop` has returned here.
  const auto run = run_;
  run->stop(std::move(completion));
}

}  // namespace vesk::stream
