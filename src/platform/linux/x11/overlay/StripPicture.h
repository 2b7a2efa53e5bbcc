#pragma once

#include <QImage>
#include <string>

#include "platform/Overlays.h"
#include "platform/linux/x11/overlay/OverlayShapes.h"

namespace vesk::x11::overlay {

/// What a background with a label looks like. Thread: main, with an application object.
struct StripPicture {
  PixelRect frame;
  double scale = 1;  ///< pixels of a point
  Colour background;
  double bottomCornerRadius = 0;  ///< points
  std::optional<OverlayLabel> label;
  std::string text;

  /// Premultiplied; what lies outside the corners is transparent.
  QImage paint() const;
};

}  // namespace vesk::x11::overlay
