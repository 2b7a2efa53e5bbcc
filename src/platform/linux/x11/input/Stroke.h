#pragma once

#include <cstdint>

#include "platform/linux/x11/input/KeyLevels.h"

namespace vesk::x11::input {

inline constexpr XModifiers capsLockModifier = 0x02;

/// What is locked: modifiers, and the group, that is which of the person's layouts.
struct Locks {
  XModifiers modifiers = 0;
  std::uint8_t group = 0;
  bool operator==(const Locks&) const = default;
};

/// A way to type a character: the key, and what must be in effect when it is struck.
struct Stroke {
  xcb_keycode_t keycode = 0;
  Locks locks;
  bool operator==(const Stroke&) const = default;
};

}  // namespace vesk::x11::input
