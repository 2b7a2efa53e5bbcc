#pragma once

#include <cstdint>

#include "platform/Geometry.h"

namespace vesk::portal::session {

/// One thing that the viewer's hands do, as the portal is told of it.
struct Stroke {
  enum class Kind : std::uint8_t {
    motion,  ///< to `place`, in the stream
    step,    ///< by as much as `place` says, in the desktop's points, from where a motion went
    button,  ///< evdev's `code`
    wheel,   ///< `code` of the portal's steps downwards
    key,     ///< evdev's `code`
    symbol,  ///< the key that types XKB's symbol `code`, wherever it lies
  };

  Kind kind = Kind::motion;
  Point place{};
  std::int32_t code = 0;
  bool isDown = false;
  bool operator==(const Stroke&) const = default;
};

}  // namespace vesk::portal::session
