#pragma once

#include <xkbcommon/xkbcommon.h>

#include <span>

#include "platform/Events.h"

namespace vesk::keys {

/// The symbols of the keys that make a modifier true, the usual one first.
std::span<const xkb_keysym_t> modifierSymbols(EventFlags modifier);

}  // namespace vesk::keys
