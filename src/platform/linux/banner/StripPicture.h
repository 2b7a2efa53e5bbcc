#pragma once

#include <QImage>
#include <string>
#include <vector>

#include "platform/Overlays.h"
#include "platform/linux/banner/OverlayShapes.h"

namespace vesk::banner {

/// A background of that frame with its two lower corners rounded by so many pixels.
struct Tab {
  PixelRect frame;
  double radius = 0;
  double alpha = 1;
};

/// One edge of a border, with room for the tabs that lie over it: what is translucent would come
/// out darker where it lies over itself. Premultiplied. Thread: any.
QImage edgePicture(const PixelRect& edge, const Colour& colour, const std::vector<Tab>& tabs);

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

}  // namespace vesk::banner
