#pragma once

#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include "platform/ScreenCapture.h"
#include "platform/linux/picture/ImagePainter.h"
#include "platform/linux/x11/screen/ScreenGrabber.h"

namespace vesk::x11::screen {

/// One monitor as images, and why there are none any more: it changed, it went, the server did.
///
/// Thread: one at a time. Owns: what grabs and paints, between `open` and `close`. Fails: by an
/// error that ends the stream.
class MonitorImages {
 public:
  /// `leftOut`, which outlives the object, names the windows that images are made without.
  MonitorImages(ShareableDisplay display, const StreamConfiguration& configuration,
                const beneath::OwnWindows* leftOut)
      : display_(std::move(display)), configuration_(configuration), leftOut_(leftOut) {}

  /// Own windows come up once this has returned. What they cover then has been seen before.
  std::optional<PlatformError> open();
  void close();

  /// Becomes readable when the server has something to tell.
  int descriptor() const { return grabber_->descriptor(); }

  /// Takes what the server has told.
  std::optional<PlatformError> follow();

  /// Whether the next image may look different from the last. Asks the server for the pointer if
  /// that is to be looked at and nothing else is new.
  bool mayDiffer() { return drawn_ || grabber_->cursorChanged(); }

  /// Whether `follow` would find something, of which the descriptor may tell no more.
  bool hasNews() { return grabber_->hasNews(); }

  /// When the next image may look different though the server has told nothing.
  ScreenGrabber::Time nextLook() const { return grabber_->nextLook(); }

  struct Taken {
    ImageBufferRef image;  ///< null when what was drawn is not to be seen
    std::optional<PlatformError> error;
  };
  Taken take();

  /// Whether what is to be seen is held back, to be taken later.
  bool isHeldBack() const { return grabber_->isHeldBack(); }

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
