#pragma once

#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include "platform/ScreenCapture.h"
#include "platform/linux/picture/ImagePainter.h"
#include "platform/linux/stream/ImageSource.h"
#include "platform/linux/wayland/beneath/OwnSurfaces.h"
#include "platform/linux/wayland/beneath/PictureBeneath.h"
#include "platform/linux/wayland/screen/OutputCopier.h"
#include "platform/linux/wayland/screen/UprightPixels.h"
#include "platform/linux/wayland/server/Connection.h"
#include "platform/linux/wayland/server/OutputList.h"

namespace vesk::wayland::screen {

/// One output of the compositor as images.
///
/// There is one copy on its way at most, which the compositor makes as soon as something has
/// changed: a still screen costs nothing, and what changes on it is there at once. The next one is
/// asked for when an image has been made of the last.
class OutputImages final : public stream::ImageSource {
 public:
  /// `leftOut`, which outlives the object, tells of the surfaces that images are made without.
  OutputImages(ShareableDisplay display, const StreamConfiguration& configuration,
               const beneath::OwnSurfaces* leftOut)
      : display_(std::move(display)), configuration_(configuration), leftOut_(leftOut) {}

  std::optional<PlatformError> open(int stopped) override;
  void close() override;
  int descriptor() const override { return connection_->descriptor(); }
  std::optional<PlatformError> follow() override;
  bool mayDiffer() override { return copier_->state() == OutputCopier::State::ready; }
  bool hasNews() override { return mayDiffer(); }
  Time nextLook() const override { return Time::max(); }
  Taken take() override;
  bool isHeldBack() const override { return isUncertain_ || failingSince_; }

 private:
  std::optional<PlatformError> connect();
  std::optional<PlatformError> firstCopy();
  std::optional<PlatformError> connectionError() const;
  std::optional<PlatformError> failure();
  void ask(OutputCopier::When when);
  void askForNext();
  void collectChanges();
  bool isKnownWhatItShows(const beneath::OwnSurfaces::Shown& now) const;
  ImageBufferRef image(const beneath::OwnSurfaces::Shown& shown);

  ShareableDisplay display_;
  StreamConfiguration configuration_;
  const beneath::OwnSurfaces* leftOut_;
  std::unique_ptr<server::Connection> connection_;
  std::unique_ptr<server::OutputList> outputs_;
  server::Output output_;
  std::unique_ptr<OutputCopier> copier_;
  std::unique_ptr<UprightPixels> upright_;
  std::unique_ptr<beneath::PictureBeneath> beneath_;
  std::unique_ptr<picture::ImagePainter> painter_;
  beneath::OwnSurfaces::Shown shownWhenAsked_;
  bool isUncertain_ = false;          ///< what the last copy showed of own surfaces
  std::optional<Time> failingSince_;  ///< no copy has come off since
  bool hasImages_ = false;            ///< there has been one
  std::vector<PixelRect> untold_;     ///< of the output, changed and in no image yet
};

}  // namespace vesk::wayland::screen
