#pragma once

#import <ScreenCaptureKit/ScreenCaptureKit.h>

#include <memory>

#include "platform/ScreenCapture.h"

@class VeskStreamReceiver;

namespace vesk::mac {

class StreamCallbacks;

/// One display of the window server as a stream of images; see `ScreenStream`. The system sends an
/// image when something is drawn and says idle otherwise.
class MacScreenStream final : public ScreenStream {
 public:
  MacScreenStream(const ContentFilter& filter, const StreamConfiguration& configuration,
                  std::function<void(PlatformError)> onStopped);
  ~MacScreenStream() override;
  MacScreenStream(const MacScreenStream&) = delete;
  MacScreenStream& operator=(const MacScreenStream&) = delete;

  std::optional<PlatformError> addOutput(Output output, SerialQueue& queue) override;
  void startCapture(Completion completion) override;
  void stopCapture(Completion completion) override;

 private:
  void endActivity();

  std::shared_ptr<StreamCallbacks> callbacks_;
  VeskStreamReceiver* receiver_;
  SCStream* stream_ = nil;  ///< nil where the system would not make one
  std::optional<PlatformError> refusal_;
  bool mayRun_ = false;  ///< started, and not told to stop since
  /// While the stream may run: a program without a window is put to sleep between its timers.
  id<NSObject> activity_ = nil;
};

}  // namespace vesk::mac
