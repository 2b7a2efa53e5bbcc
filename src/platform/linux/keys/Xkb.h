#pragma once

#include <xkbcommon/xkbcommon.h>

#include <memory>

namespace vesk::keys {

struct ReleaseXkb {
  void operator()(xkb_context* context) const { xkb_context_unref(context); }
  void operator()(xkb_keymap* keymap) const { xkb_keymap_unref(keymap); }
  void operator()(xkb_state* state) const { xkb_state_unref(state); }
};

/// A reference to something of the library's.
template <typename Object>
using Xkb = std::unique_ptr<Object, ReleaseXkb>;

/// XKB counts keys from 8 on, where the kernel begins with 0.
inline constexpr xkb_keycode_t keycodeOffset = 8;

}  // namespace vesk::keys
