#pragma once

#include <cstdint>
#include <functional>

#include "platform/DeliberateAct.h"
#include "platform/linux/wayland/overlay/LayerSurface.h"

namespace vesk::wayland::alert {

/// The compositor's time. Neither the coming of the focus nor that of a picture tells when it was;
/// that a frame with the surface in it has been shown does.
///
/// Thread: the connection's. Owns: its question; the surface outlives it. Fails: as a question that
/// is never answered, on an output that is switched off for one. Calls back: from within the
/// connection's dispatch.
class FrameTime {
 public:
  using Time = DeliberateAct::Time;

  explicit FrameTime(overlay::LayerSurface& surface) : surface_(surface) {}

  /// When the surface, as it is now, was shown. Earlier questions are answered no more: their
  /// answer is older than what has happened since.
  void ask();

  std::function<void(Time)> onAnswer;

  /// A time that the compositor tells, which counts milliseconds in 32 bits.
  Time timeOf(std::uint32_t time) const;

 private:
  void answer(std::uint32_t time);

  overlay::LayerSurface& surface_;
  server::Proxy<wl_callback> question_;
  Time last_{0};
};

}  // namespace vesk::wayland::alert
