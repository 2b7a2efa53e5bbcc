#pragma once

#include <cstdint>

#include "platform/Events.h"

namespace vesk {

/// The flags of a viewer's modifier mask: 1 Shift, 2 Control, 4 Alt, 8 the Windows key. These four
/// lie in the same order among the flags; higher bits mean nothing.
constexpr EventFlags flagsOfMask(std::int64_t mask) {
  static_assert(eventFlag::shift == EventFlags{1} << 17 && eventFlag::control == EventFlags{2}
                                                                                     << 17);
  static_assert(eventFlag::alternate == EventFlags{4} << 17 && eventFlag::command == EventFlags{8}
                                                                                         << 17);
  return static_cast<EventFlags>(mask & 0xF) << 17;
}

/// The flags that hold once the viewer has said which modifiers it holds. Caps Lock is not among
/// them and stays as it is.
constexpr EventFlags wantedFlags(std::int64_t mask, EventFlags current) {
  return flagsOfMask(mask) | (current & eventFlag::alphaShift);
}

}  // namespace vesk
