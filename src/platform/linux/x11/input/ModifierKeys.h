#pragma once

#include <array>
#include <optional>
#include <set>

#include "platform/Events.h"
#include "platform/linux/x11/input/HeldDown.h"
#include "platform/linux/x11/input/LockedModifiers.h"
#include "platform/linux/x11/input/XKeyboard.h"

namespace vesk::x11::input {

/// X has no flags in an event: what an event says of the modifiers is made true on the server
/// before it is posted, with keys that this object presses and lets go.
///
/// Thread: one at a time. Owns: which key stands for which modifier; what is given to the
/// constructor outlives it. Fails: silently, where the keyboard has no such key.
class ModifierKeys {
 public:
  ModifierKeys(XKeyboard& keyboard, HeldDown& held, LockedModifiers& locks)
      : keyboard_(keyboard), held_(held), locks_(locks) {}

  /// Exactly these modifiers are in effect.
  void makeTrue(EventFlags flags);

  /// None but these are; presses nothing.
  void releaseUnless(EventFlags flags);

  /// The viewer has pressed or let go of a modifier's key.
  void change(const KeyboardEvent& event);

  /// Lets go of the keys, and leaves Caps Lock as it is.
  void release();

  /// All are up already.
  void forget() { keys_ = {}; }

 private:
  static constexpr std::array modifiers{eventFlag::shift, eventFlag::control, eventFlag::alternate,
                                        eventFlag::command};

  /// The keys that make one modifier true.
  struct Keys {
    std::set<xcb_keycode_t> held;
    std::optional<xcb_keycode_t> preferred;  ///< the one that the viewer itself pressed
  };

  void pressOneOf(std::size_t modifier);
  void prefer(xcb_keycode_t keycode, EventFlags flags);
  void release(Keys& keys);

  XKeyboard& keyboard_;
  HeldDown& held_;
  LockedModifiers& locks_;
  std::array<Keys, modifiers.size()> keys_;
};

}  // namespace vesk::x11::input
