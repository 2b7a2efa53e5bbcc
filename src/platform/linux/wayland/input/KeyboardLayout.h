#pragma once

#include <optional>
#include <vector>

#include "platform/Events.h"
#include "platform/linux/keys/Xkb.h"
#include "platform/linux/wayland/input/Key.h"

namespace vesk::wayland::input {

/// What lies where on a keyboard.
///
/// Thread: one at a time. Owns: nothing; the keymap outlives it. Fails: as no key, where there is
/// no keymap.
class KeyboardLayout {
 public:
  explicit KeyboardLayout(xkb_keymap* keymap) : keymap_(keymap) {}

  /// The key at a position.
  std::optional<Key> keyAt(KeyCode key) const;

  /// The keys that make a modifier true, the usual one first.
  std::vector<Key> keysOf(EventFlags modifier) const;

  /// Whether Caps Lock means another case of what the key types.
  bool isLetter(Key key) const;

  /// What the keypad's key at that position types where it types digits.
  std::optional<char32_t> digitAt(KeyCode key) const;

  /// What is to be locked for the keypad to type digits.
  xkb_mod_mask_t locksForDigits() const;

 private:
  std::optional<xkb_keycode_t> keycodeOf(const char* position) const;
  xkb_keysym_t symbol(xkb_keycode_t keycode, xkb_level_index_t level) const;

  xkb_keymap* keymap_;
};

}  // namespace vesk::wayland::input
