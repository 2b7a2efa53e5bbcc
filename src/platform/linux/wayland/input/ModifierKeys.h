#pragma once

#include <array>
#include <optional>
#include <set>

#include "platform/Events.h"
#include "platform/linux/wayland/input/Keyboard.h"
#include "platform/linux/wayland/input/KeyboardLayout.h"

namespace vesk::wayland::input {

/// A seat has no flags in an event: what an event says of the modifiers is made true on the
/// viewer's keyboard before it is posted, with keys that this object presses and lets go.
///
/// Thread: one at a time. Owns: which key stands for which modifier; the keyboard outlives it.
/// Fails: silently, where the layout has no such key.
class ModifierKeys {
 public:
  explicit ModifierKeys(Keyboard& keyboard) : keyboard_(keyboard) {}

  /// Exactly these modifiers are in effect.
  void makeTrue(EventFlags flags, const KeyboardLayout& layout);

  /// None but these are; presses nothing.
  void releaseUnless(EventFlags flags);

  /// The viewer has pressed or let go of a modifier's key.
  void change(const KeyboardEvent& event, const KeyboardLayout& layout);

  /// All are up already; which key the viewer itself has pressed still counts.
  void forgetHeld();

  /// All are up already, and that is forgotten too.
  void forget() { keys_ = {}; }

 private:
  static constexpr std::array modifiers{eventFlag::shift, eventFlag::control, eventFlag::alternate,
                                        eventFlag::command};

  /// The keys that make one modifier true.
  struct Keys {
    std::set<Key> held;
    std::optional<Key> preferred;  ///< the one that the viewer itself pressed
  };

  void pressOneOf(std::size_t modifier, const KeyboardLayout& layout);
  void prefer(Key key, EventFlags flags, const KeyboardLayout& layout);
  void release(Keys& keys);

  Keyboard& keyboard_;
  std::array<Keys, modifiers.size()> keys_;
};

}  // namespace vesk::wayland::input
