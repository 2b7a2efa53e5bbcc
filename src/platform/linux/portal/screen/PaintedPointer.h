#pragma once

#include <cstdint>

#include "platform/linux/picture/PixelRect.h"
#include "platform/linux/portal/screen/PointerNews.h"
#include "platform/linux/wayland/beneath/Pixels.h"

namespace vesk::portal::screen {

using picture::PixelRect;
using wayland::beneath::Pixels;

/// The pointer where it is and as it looks, of which a desktop tells besides its pictures, to be
/// painted over them.
///
/// Thread: one at a time. Owns: its pixels. Fails: never.
class PaintedPointer {
 public:
  void follow(PointerNews news);

  /// Whether it would be painted otherwise than the last time.
  bool hasChanged() const { return hasChanged_; }

  /// Paints it over a picture that does not show it, as far as it reaches into that.
  void paint(const Pixels& pixels);

  /// Where it was painted the last time; empty where it was not.
  const PixelRect& painted() const { return painted_; }

 private:
  PixelRect place() const;

  bool isWithin_ = false;
  std::int32_t x_ = 0;
  std::int32_t y_ = 0;
  PointerShape shape_;
  PixelRect painted_;
  bool hasChanged_ = false;
};

}  // namespace vesk::portal::screen
