#pragma once

#include <xkbcommon/xkbcommon.h>

#include <string>
#include <string_view>

namespace vesk::wayland::input {

/// The text of a keymap as this program hands it to the compositor, with a name in it by which it
/// is known again: the compositor hands it on to everybody, this program included. Empty where the
/// library has no memory for it.
std::string ownKeymapText(xkb_keymap* keymap);

/// Whether a keymap's text is one of those.
bool isOwnKeymapText(std::string_view text);

}  // namespace vesk::wayland::input
