#pragma once

#include <optional>

#include "platform/Geometry.h"
#include "support/PortalServices.h"

namespace vesk::testing {

struct MutterOptions {
  PixelSize monitor{1920, 1080};
  /// An X server for programs that want one.
  bool hasXServer = false;
  /// What asks the person before a program gets the screen and the input.
  bool hasPortal = true;
  int scale = 1;
  /// Whether the desktop, and not each program by itself, is scaled: GNOME's own word for it is
  /// `scale-monitor-framebuffer`. Places on the desktop are counted in points then.
  bool isScaledAsAWhole = false;
  /// Another monitor, to the right of that one.
  std::optional<PixelSize> beside = std::nullopt;
};

/// A private GNOME desktop without its shell and without a screen: Mutter, and what it shares its
/// screen by. All of it answers when the constructor returns.
class Mutter : public PortalServices {
 public:
  explicit Mutter(MutterOptions options = {});

  /// How many pixels windows have to a point, each way. What is shared is counted in pixels.
  int scale() const { return scale_; }

 private:
  void keepScale(PixelSize monitor) const;

  int scale_;
};

}  // namespace vesk::testing
