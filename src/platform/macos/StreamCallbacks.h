#pragma once

#include <functional>
#include <mutex>

#include "platform/ScreenCapture.h"

namespace vesk::mac {

/// Where the window system's news of one stream goes. Once disconnected, nothing is called back any
/// more, and what is being called back has returned, unless it is what disconnects.
/// Thread: any. Samples never wait for whoever is being told of the end.
class StreamCallbacks {
 public:
  explicit StreamCallbacks(std::function<void(PlatformError)> onStopped)
      : onStopped_(std::move(onStopped)) {}

  void setOutput(ScreenStream::Output output);
  void deliver(const StreamSample& sample, StreamOutputType type);

  /// Only the first end is told of.
  void stopped(const PlatformError& error);
  void disconnect();

 private:
  // Held during a call, so that a disconnection waits for it; recursive, so that the call itself
  // may disconnect.
  std::recursive_mutex outputMutex_;
  ScreenStream::Output output_;
  std::recursive_mutex stoppedMutex_;
  std::function<void(PlatformError)> onStopped_;
};

}  // namespace vesk::mac
