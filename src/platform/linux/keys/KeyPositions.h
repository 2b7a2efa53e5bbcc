#pragma once

#include <string_view>

#include "platform/Events.h"

namespace vesk::keys {

/// The name that XKB gives to the position of a key, whatever the layout puts there; empty for a
/// key that a keyboard here does not have.
std::string_view keyPosition(KeyCode key);

/// A key of the keypad that means its digit or its decimal sign, whether Num Lock is on or not.
bool isKeypadDigit(KeyCode key);

}  // namespace vesk::keys
