#pragma once

#include <map>

#include "platform/Events.h"
#include "platform/linux/wayland/input/Keyboard.h"
#include "platform/linux/wayland/input/KeyboardLayout.h"

namespace vesk::wayland::input {

/// The viewer's keys as the keys in the same places of the person's keyboard, whatever the layout
/// puts there.
///
/// Thread: one at a time. Owns: which key stands for which; the keyboard outlives it. Fails:
/// silently, where the keyboard has no such key.
class PlacedKeys {
 public:
  explicit PlacedKeys(Keyboard& keyboard) : keyboard_(keyboard) {}

  /// The modifiers of the event are true already.
  void press(KeyCode code, const KeyboardLayout& layout);
  void release(KeyCode code);

  /// All are up already.
  void forget() { pressed_.clear(); }

 private:
  Keyboard& keyboard_;
  std::map<KeyCode, Key> pressed_;
};

}  // namespace vesk::wayland::input
