#pragma once

#include <map>

#include "platform/Events.h"
#include "platform/linux/x11/input/HeldDown.h"
#include "platform/linux/x11/input/LockedModifiers.h"
#include "platform/linux/x11/input/XKeyboard.h"

namespace vesk::x11::input {

/// The viewer's keys as the keys in the same places of the person's keyboard, whatever the layout
/// puts there.
///
/// Thread: one at a time. Owns: which key stands for which; what is given to the constructor
/// outlives it. Fails: silently, where the keyboard has no such key.
class PlacedKeys {
 public:
  PlacedKeys(const XKeyboard& keyboard, HeldDown& held, LockedModifiers& locks)
      : keyboard_(keyboard), held_(held), locks_(locks) {}

  /// The modifiers of the event are true already, but for those that are locked.
  void press(const KeyboardEvent& event);
  void release(KeyCode key);

  /// All are up already.
  void forget() { pressed_.clear(); }

 private:
  const XKeyboard& keyboard_;
  HeldDown& held_;
  LockedModifiers& locks_;
  std::map<KeyCode, xcb_keycode_t> pressed_;
};

}  // namespace vesk::x11::input
