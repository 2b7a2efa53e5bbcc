#pragma once

#include <memory>
#include <thread>

#include "platform/ScreenCapture.h"

namespace vesk::x11 {

/// One monitor of the X server as a stream of images; see `ScreenStream`. It sleeps until something
/// is drawn, looks at the pointer once per frame, and sends at most one image per frame. When
/// nothing has changed any more it says so once, by an idle sample.
///
/// The stream ends by itself when its monitor changes its size or place or is turned off, and when
/// the server is gone. It may be destroyed on its own thread.
class XScreenStream final : public ScreenStream {
 public:
  XScreenStream(const ContentFilter& filter, const StreamConfiguration& configuration,
                std::function<void(PlatformError)> onStopped);
  ~XScreenStream() override;
  XScreenStream(const XScreenStream&) = delete;
  XScreenStream& operator=(const XScreenStream&) = delete;

  std::optional<PlatformError> addOutput(Output output, SerialQueue& queue) override;
  void startCapture(Completion completion) override;
  void stopCapture(Completion completion) override;

 private:
  class Run;

  std::shared_ptr<Run> run_;
  std::thread thread_;
};

}  // namespace vesk::x11
