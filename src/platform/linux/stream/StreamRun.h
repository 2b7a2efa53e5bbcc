#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <optional>

#include "platform/ScreenCapture.h"
#include "platform/linux/stream/ImageSource.h"
#include "platform/linux/stream/SampleOutlet.h"

namespace vesk::stream {

/// The life of a stream's thread: when it looks for something new, and how long it sleeps.
///
/// Thread: `run` on the stream's own; everything else on any other. Owns: the images. Calls back:
/// `onStopped` when the stream ends by itself, on the stream's own thread.
class StreamRun {
 public:
  StreamRun(std::unique_ptr<ImageSource> images, int framesPerSecond,
            std::function<void(PlatformError)> onStopped);

  void setOutput(ScreenStream::Output output, SerialQueue& queue) {
    outlet_.connect(std::move(output), queue);
  }

  /// No sample goes out once this has returned. `completion` runs when the thread is at its end.
  void stop(Completion completion) { outlet_.stop(std::move(completion)); }

  /// The thread's whole life.
  void run(Completion started);

 private:
  using Clock = std::chrono::steady_clock;

  std::optional<PlatformError> open();
  std::optional<PlatformError> stream();
  void wait(Clock::duration time, bool alsoForTheDesktop) const;

  std::function<void(PlatformError)> onStopped_;
  Clock::duration interval_;
  SampleOutlet outlet_;
  std::unique_ptr<ImageSource> images_;
};

}  // namespace vesk::stream
