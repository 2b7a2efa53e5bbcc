#pragma once

#include <cstdint>
#include <optional>

#include "platform/Descriptor.h"
#include "platform/Geometry.h"

namespace vesk::portal::session {

/// What the person has let the program have.
struct Granted {
  Descriptor remote;       ///< of PipeWire
  std::uint32_t node = 0;  ///< of the screen's stream there
  std::optional<Rect>
      area;  ///< where it lies on the desktop, in points, as far as the portal tells
  bool mayControl = false;
};

}  // namespace vesk::portal::session
