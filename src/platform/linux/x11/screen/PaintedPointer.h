#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "platform/linux/picture/PixelLayout.h"
#include "platform/linux/x11/screen/HiddenPointer.h"
#include "platform/linux/x11/screen/PointerWatch.h"
#include "platform/linux/x11/server/Connection.h"
#include "platform/linux/x11/server/Randr.h"
#include "platform/linux/x11/server/rectangles.h"

namespace vesk::x11::screen {

/// The pointer in the picture of a monitor, and the pixels that it covers there. It is in the
/// picture where the person sees it: nowhere while a program hides it. One that rests in sight is
/// asked for only now and then.
///
/// Thread: one at a time. Owns: nothing of the server's; the connection outlives it, and its owner
/// hands on every event. Fails: as a pointer that stays as it is.
class PaintedPointer {
 public:
  PaintedPointer(const server::Connection& connection, const server::Monitor& monitor,
                 picture::PixelLayout layout);

  void handle(const xcb_generic_event_t& event);

  /// Whether it has moved or looks different since it was last painted. Waits for the server where
  /// it is to be looked at.
  bool hasChanged();

  /// When it is to be looked at unless the server tells of it before; long ago, if it does not
  /// rest.
  PointerWatch::Time nextLook() const { return stale_ ? PointerWatch::Time{} : watch_.nextLook(); }

  /// Gives the picture back the pixels that it covers; where that was, if it was anywhere.
  std::optional<PixelRect> takeOff(std::uint8_t* pixels);

  /// Paints it where the server has it, or had it a millisecond ago, after it was taken off. Where
  /// the picture changes against the one `before`, in which it was there or nowhere: a pointer that
  /// stays as it is changes nothing. Waits for the server where it is to be looked at.
  std::vector<PixelRect> repaint(std::uint8_t* pixels, const std::optional<PixelRect>& before);

 private:
  std::uint8_t* at(std::uint8_t* pixels, int x, int y) const {
    return pixels + (static_cast<std::ptrdiff_t>(y) * monitor_.width + x) * 4;
  }
  bool refresh();
  bool isToLook() const { return watch_.isToLook(PointerWatch::Time::clock::now()); }
  bool locate();
  void load();
  void place(int x, int y);
  PixelRect inMonitor() const {
    return intersection(frame_, {0, 0, monitor_.width, monitor_.height});
  }
  std::optional<PixelRect> putOn(std::uint8_t* pixels);

  const server::Connection& connection_;
  server::Monitor monitor_;
  picture::PixelLayout layout_;
  std::uint8_t event_ = 0;
  bool stale_ = true;
  PixelRect frame_;  ///< of its image, in the monitor
  int hotX_ = 0;
  int hotY_ = 0;
  HiddenPointer hidden_;
  PointerWatch watch_;
  PointerWatch::Time locatedAt_;
  bool isInSight_ = false;
  std::vector<std::uint32_t> image_;  ///< premultiplied ARGB
  std::optional<PixelRect> painted_;
  std::vector<std::uint32_t> beneath_;  ///< the pixels that it covers
};

}  // namespace vesk::x11::screen
