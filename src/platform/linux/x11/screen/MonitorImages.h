#pragma once

#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include "platform/ScreenCapture.h"
#include "platform/linux/picture/ImagePainter.h"
#include "platform/linux/stream/ImageSource.h"
#include "platform/linux/x11/screen/ScreenGrabber.h"

namespace vesk::x11::screen {

/// One monitor of the X server as images.
class MonitorImages final : public stream::ImageSource {
 public:
  /// `leftOut`, which outlives the object, names the windows that images are made without: what
  /// lies beneath them is shown.
  MonitorImages(ShareableDisplay display, const StreamConfiguration& configuration,
                const beneath::OwnWindows* leftOut)
      : display_(std::move(display)), configuration_(configuration), leftOut_(leftOut) {}

  /// What own windows cover that come up once this has returned has been seen before.
  std::optional<PlatformError> open(int stopped) override;
  void close() override;
  int descriptor() const override { return grabber_->descriptor(); }
  std::optional<PlatformError> follow() override;

  /// Asks the server for the pointer if that is to be looked at and nothing else is new.
  bool mayDiffer() override { return drawn_ || grabber_->cursorChanged(); }
  bool hasNews() override { return grabber_->hasNews(); }
  Time nextLook() const override { return grabber_->nextLook(); }
  Taken take() override;
  bool isHeldBack() const override { return grabber_->isHeldBack(); }

 private:
  std::optional<PlatformError> layoutError() const;

  ShareableDisplay display_;
  StreamConfiguration configuration_;
  const beneath::OwnWindows* leftOut_;
  server::Monitor monitor_;
  std::unique_ptr<ScreenGrabber> grabber_;
  std::unique_ptr<picture::ImagePainter> painter_;
  bool drawn_ = true;
  std::vector<PixelRect> unsent_;  ///< of the monitor, grabbed and in no image yet
};

}  // namespace vesk::x11::screen
