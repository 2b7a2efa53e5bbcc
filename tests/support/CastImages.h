#pragma once

#include <memory>

#include "platform/linux/portal/screen/StreamImages.h"
#include "support/MutterCast.h"
#include "support/TakenImages.h"

namespace vesk::testing {

/// The images of a stream, of a Mutter's as a rule.
class CastImages final : public TakenImages {
 public:
  struct Options {
    bool showsCursor = false;
    int framesPerSecond = 30;
    const wayland::beneath::OwnSurfaces* leftOut = nullptr;
  };

  /// At the monitor's own size.
  CastImages(const MutterCast& cast, PixelSize size, Options options);
  CastImages(const MutterCast& cast, PixelSize size) : CastImages(cast, size, Options()) {}

  /// Of any node of PipeWire, which `remote` is connected to.
  CastImages(Descriptor remote, std::uint32_t node, PixelSize size, Options options);

  portal::screen::StreamImages& source() { return *images_; }

  /// What own surfaces on the monitor are listed by.
  static constexpr DisplayId display = 7;

 private:
  stream::ImageSource& images() override { return *images_; }

  std::unique_ptr<portal::screen::StreamImages> images_;
};

}  // namespace vesk::testing
