#pragma once

#include <functional>
#include <memory>
#include <thread>

#include "platform/ScreenCapture.h"
#include "platform/linux/stream/ImageSource.h"
#include "platform/linux/stream/WatchedDisplay.h"

namespace vesk::stream {

class StreamRun;

/// A display as a stream of images, on a thread of its own; see `ScreenStream`. It sleeps until
/// something is drawn or the pointer moves, and sends at most one image per frame. When nothing has
/// changed any more it says so once, by an idle sample.
///
/// The stream ends by itself when its display changes its size or place or is turned off, and when
/// the desktop is gone. It may be destroyed on its own thread.
class ThreadedStream final : public ScreenStream {
 public:
  /// `watched` is held until the stream is stopped.
  ThreadedStream(std::unique_ptr<ImageSource> images, int framesPerSecond,
                 std::function<void(PlatformError)> onStopped,
                 WatchedDisplay::Hold watched = nullptr);
  ~ThreadedStream() override;
  ThreadedStream(const ThreadedStream&) = delete;
  ThreadedStream& operator=(const ThreadedStream&) = delete;

  std::optional<PlatformError> addOutput(Output output, SerialQueue& queue) override;
  void startCapture(Completion completion) override;
  void stopCapture(Completion completion) override;

 private:
  std::shared_ptr<StreamRun> run_;
  std::thread thread_;
  WatchedDisplay::Hold watched_;
};

}  // namespace vesk::stream
