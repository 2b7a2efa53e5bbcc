#pragma once

#include <memory>
#include <thread>

#include "platform/ScreenCapture.h"
#include "platform/linux/x11/beneath/OwnWindows.h"

namespace vesk::x11::screen {

class StreamRun;

/// One monitor of the X server as a stream of images; see `ScreenStream`. It sleeps until something
/// is drawn or the pointer moves, and sends at most one image per frame. When nothing has changed
/// any more it says so once, by an idle sample.
///
/// When this program is among the applications to be left out, so are its own windows: what lies
/// beneath them is shown.
///
/// The stream ends by itself when its monitor changes its size or place or is turned off, and when
/// the server is gone. It may be destroyed on its own thread.
class XScreenStream final : public ScreenStream {
 public:
  /// `ownWindows` outlives the stream.
  XScreenStream(const ContentFilter& filter, const StreamConfiguration& configuration,
                const beneath::OwnWindows& ownWindows,
                std::function<void(PlatformError)> onStopped);
  ~XScreenStream() override;
  XScreenStream(const XScreenStream&) = delete;
  XScreenStream& operator=(const XScreenStream&) = delete;

  std::optional<PlatformError> addOutput(Output output, SerialQueue& queue) override;
  void startCapture(Completion completion) override;
  void stopCapture(Completion completion) override;

 private:
  std::shared_ptr<StreamRun> run_;
  std::thread thread_;
};

}  // namespace vesk::x11::screen
