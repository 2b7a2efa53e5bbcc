#include "platform/macos/StreamCallbacks.h"

#include <utility>

namespace vesk::mac {

void StreamCallbacks::setOutput(ScreenStream::Output output) {
  const std::lock_guard lock(outputMutex_);
  output_ = std::move(output);
}

void StreamCallbacks::deliver(const StreamSample& sample, StreamOutputType type) {
  const std::lock_guard lock(outputMutex_);
  // A copy: the call may disconnect.
  if (const auto output = output_) output(sample, type);
}

void StreamCallbacks::stopped(const PlatformError& error) {
  const std::lock_guard lock(stoppedMutex_);
  if (const auto onStopped = std::exchange(onStopped_, nullptr)) onStopped(error);
}

void StreamCallbacks::disconnect() {
  {
    const std::lock_guard lock(outputMutex_);
    output_ = nullptr;
  }
  const std::lock_guard lock(stoppedMutex_);
  onStopped_ = nullptr;
}

}  // namespace vesk::mac
