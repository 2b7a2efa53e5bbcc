#pragma once

#include <cstdint>
#include <set>

#include "platform/Events.h"

namespace vesk {

/// Buttons by the viewer's own numbers: 0 left, 1 middle, 2 right; any other acts as the left one.
using HeldButtons = std::set<std::int64_t>;

inline constexpr std::int64_t middleButton = 1;

/// What to post for something that happens to a viewer's button.
struct ButtonAction {
  EventType type;
  MouseButton button;
  bool operator==(const ButtonAction&) const = default;
};

ButtonAction pressOf(std::int64_t button);
ButtonAction releaseOf(std::int64_t button);

/// A move drags with the left button before the right one before the middle one. A button that only
/// acts as the left one does not drag.
ButtonAction moveWith(const HeldButtons& held);

}  // namespace vesk
