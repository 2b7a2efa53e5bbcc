#pragma once

#include <mutex>

#include "platform/Descriptor.h"
#include "platform/ScreenCapture.h"

namespace vesk::stream {

/// What a stream's thread shares with whoever stops the stream. Samples go out under the lock that
/// stopping takes, so that none does once `stop` has returned.
///
/// Thread: any. Owns: a descriptor. Fails: the constructor leaves an object that is false, where
/// the process has no descriptor left.
class SampleOutlet {
 public:
  using Output = ScreenStream::Output;

  SampleOutlet();

  explicit operator bool() const { return static_cast<bool>(stopped_); }

  /// Where samples go; nowhere before. The queue outlives this object. Called before the thread is
  /// there.
  void connect(Output output, SerialQueue& queue);

  /// Nothing goes out from now on. `completion` runs at the end, in this call if that was before.
  void stop(Completion completion);

  bool isStopped() const;

  /// Becomes readable when the stream is stopped.
  int descriptor() const { return stopped_.get(); }

  /// Called by the thread.
  void deliver(StreamSample sample);

  /// Called by the thread, as the last of what it does.
  void end();

 private:
  Descriptor stopped_;
  Output output_;
  SerialQueue* queue_ = nullptr;

  mutable std::mutex mutex_;
  bool stopping_ = false;
  bool ended_ = false;
  Completion atTheEnd_;
};

}  // namespace vesk::stream
