#pragma once

#include <xkbcommon/xkbcommon.h>

#include <cstdint>
#include <map>
#include <optional>
#include <span>
#include <vector>

#include "platform/Events.h"
#include "platform/linux/keys/Xkb.h"
#include "platform/linux/x11/input/Stroke.h"

namespace vesk::x11::input {

/// What lies where on a keyboard, and how each character is typed with it.
///
/// Thread: one at a time. Owns: the key map. Fails: as no key, where there is no key map.
class KeyboardLayout {
 public:
  KeyboardLayout() = default;
  explicit KeyboardLayout(keys::Xkb<xkb_keymap> keymap);

  bool isEmpty() const { return keymap_ == nullptr; }

  /// The keycode at a position.
  std::optional<xcb_keycode_t> keycodeAt(KeyCode key) const;

  /// The keycodes that make a modifier true, the usual one first.
  std::vector<xcb_keycode_t> keysOf(EventFlags modifier) const;

  /// How to type a character, in the given group if it can be, with none of the `excluded` keys.
  std::optional<Stroke> strokeFor(char32_t character, std::uint8_t group,
                                  std::span<const xcb_keycode_t> excluded) const;

  /// The modifiers with which a keypad key types its digit.
  XModifiers modifiersForDigit(xcb_keycode_t keycode) const;

  /// The keycodes to which nothing at all is mapped.
  std::vector<xcb_keycode_t> unmapped() const;

  /// The symbol of a keycode in the first group.
  xkb_keysym_t symbol(xcb_keycode_t keycode, std::uint8_t level) const;

 private:
  std::vector<xcb_keycode_t> keycodes() const;
  void indexKey(xcb_keycode_t keycode);
  void indexLevel(xcb_keycode_t keycode, xkb_layout_index_t group, xkb_level_index_t level);
  bool isMapped(xcb_keycode_t keycode) const;

  keys::Xkb<xkb_keymap> keymap_;
  std::multimap<char32_t, Stroke> strokes_;
};

}  // namespace vesk::x11::input
