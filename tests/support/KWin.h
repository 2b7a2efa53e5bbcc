#pragma once

#include <QImage>

#include "platform/Geometry.h"
#include "support/PortalServices.h"

namespace vesk::testing {

struct KWinOptions {
  /// Of each output, in points; they lie beside each other, from the left to the right.
  PixelSize screen{1280, 800};
  int outputs = 1;
  int scale = 1;
  /// What shares the screen and the input.
  bool hasPortal = true;
};

/// A private KDE desktop without its shell and without a screen: KWin, and what it shares its input
/// by, which asks nobody about a program that is not in a sandbox. All of it answers when the
/// constructor returns. Without a screen no picture of it is ever shared; who looks at it by
/// `picture` is its own.
class KWin : public PortalServices {
 public:
  explicit KWin(KWinOptions options = {});

  /// What all outputs show, in their pixels, without the pointer. Throws when there is no such
  /// thing. `VESK_WAYLAND_PICTURES` names a folder that all of them are kept in, to be looked at.
  QImage picture() const;
};

}  // namespace vesk::testing
