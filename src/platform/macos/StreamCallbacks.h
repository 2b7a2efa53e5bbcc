#pragma once

#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>
#include <utility>

#include "platform/ScreenCapture.h"

namespace vesk::mac {

/// Where the window system's news of one stream goes. Once disconnected, nothing is called back any
/// more, and what is being called back has returned, unless it is what disconnects; a sample and
/// the end that both disconnect at once do not wait for each other.
///
/// Thread: any; one sample at a time. Samples never wait for whoever is being told of the end.
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
  class UnderWay;

  std::mutex mutex_;  ///< not held while anything is called back
  std::condition_variable changed_;
  ScreenStream::Output output_;
  std::function<void(PlatformError)> onStopped_;
  /// Who is being called back; nobody is the empty thread.
  std::thread::id toldOfSample_;
  std::thread::id toldOfEnd_;
  int disconnecting_ = 0;  ///< how many of these two disconnect and wait
};

}  // namespace vesk::mac
