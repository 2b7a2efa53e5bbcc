#pragma once

#include <xkbcommon/xkbcommon.h>

#include "platform/linux/wayland/input/Key.h"

namespace vesk::wayland::input {

/// A keyboard that the viewer's keys are pressed on, whoever brings it to the compositor.
///
/// Thread: one at a time. Owns: what is held down. Fails: silently.
class Keyboard {
 public:
  virtual ~Keyboard() = default;

  /// Whether the key is held then; a second press of it changes nothing.
  virtual bool press(Key key) = 0;
  virtual void release(Key key) = 0;

  /// Locks those modifiers that are `affected` as `values` say, until everything is let go.
  virtual void lock(xkb_mod_mask_t affected, xkb_mod_mask_t values) = 0;
};

}  // namespace vesk::wayland::input
