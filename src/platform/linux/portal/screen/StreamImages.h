#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <vector>

#include "platform/Descriptor.h"
#include "platform/ScreenCapture.h"
#include "platform/linux/picture/ImagePainter.h"
#include "platform/linux/portal/screen/KeptPicture.h"
#include "platform/linux/portal/screen/PaintedPointer.h"
#include "platform/linux/portal/screen/PipeWireStream.h"
#include "platform/linux/stream/ImageSource.h"
#include "platform/linux/wayland/beneath/OwnSurfaces.h"
#include "platform/linux/wayland/beneath/PictureBeneath.h"

namespace vesk::portal::screen {

/// What the person shares, as images: the pictures of a stream of PipeWire's, and the pointer,
/// which comes beside them, painted in.
///
/// The desktop sends a picture when something has changed, so a still screen costs nothing. Each is
/// compared with the last one as it comes, on PipeWire's thread, since it has to be given back.
///
/// It can be opened once.
class StreamImages final : public stream::ImageSource {
 public:
  /// `remote` is connected to PipeWire, where `node` is the stream. `display` is what own surfaces
  /// are listed by; `leftOut`, which outlives the object, tells of those that images are made
  /// without.
  StreamImages(Descriptor remote, std::uint32_t node, DisplayId display,
               const StreamConfiguration& configuration,
               const wayland::beneath::OwnSurfaces* leftOut);

  std::optional<PlatformError> open(int stopped) override;
  void close() override;
  int descriptor() const override { return stream_->descriptor(); }
  std::optional<PlatformError> follow() override;
  bool mayDiffer() override;
  bool hasNews() override { return mayDiffer(); }
  Time nextLook() const override;
  Taken take() override;
  bool isHeldBack() const override { return isHeldBack_; }

 private:
  std::optional<PlatformError> firstPicture(int stopped);
  std::optional<PlatformError> end() const;
  void keep(const RemotePicture& picture);
  bool hasPicture() const;
  bool isKnownWhatItShows(const wayland::beneath::OwnSurfaces::Shown& now);
  ImageBufferRef image(const wayland::beneath::OwnSurfaces::Shown& shown);
  std::vector<PixelRect> bringUpToDate(const wayland::beneath::OwnSurfaces::Shown& shown);
  void restore(const PixelRect& area);
  void paintPointer(std::vector<PixelRect>& changed);
  Pixels canvas();

  Descriptor remote_;
  std::uint32_t node_;
  DisplayId display_;
  StreamConfiguration configuration_;
  const wayland::beneath::OwnSurfaces* leftOut_;
  mutable std::mutex mutex_;  ///< guards the next three
  PictureLayout layout_;      ///< does not change once there is a picture
  std::unique_ptr<KeptPicture> kept_;
  PaintedPointer pointer_;
  std::vector<std::uint8_t> canvas_;  ///< what is kept without own surfaces and with the pointer
  wayland::beneath::PictureBeneath beneath_;
  std::unique_ptr<picture::ImagePainter> painter_;
  std::uint64_t generation_ = 0;  ///< of own surfaces
  Time changedAt_ = Time::min();  ///< when these were last seen being changed
  bool isHeldBack_ = false;
  std::unique_ptr<PipeWireStream> stream_;
};

}  // namespace vesk::portal::screen
