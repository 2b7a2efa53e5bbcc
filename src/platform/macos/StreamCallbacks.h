#pragma once

#include <functional>
#include <mutex>

#include "platform/ScreenCapture.h"

namespace vesk::mac {

/// Where the window system's news of one stream goes. Once disconnected, nothing is called back any
/// more, and what is being called back has returned, unless it is what disconnects.
/// Thread: any.
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
  std::recursive_mutex mutex_;
  ScreenStream::Output output_;
  std::function<void(PlatformError)> onStopped_;
};

}  // namespace vesk::mac
