#pragma once

#include <xkbcommon/xkbcommon.h>

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <span>
#include <vector>

#include "platform/Events.h"
#include "platform/linux/x11/input/KeyLevels.h"
#include "platform/linux/x11/server/Connection.h"

namespace vesk::x11::input {

/// What is locked: modifiers, and the group, that is which of the person's layouts.
struct Locks {
  XModifiers modifiers = 0;
  std::uint8_t group = 0;
  bool operator==(const Locks&) const = default;
};

/// A way to type a character: the key, and what must be in effect when it is struck.
struct Stroke {
  xcb_keycode_t keycode = 0;
  Locks locks;
};

/// The person's keyboard as the X server maps it, followed as it changes.
///
/// Thread: one at a time. Owns: the description of the key map. Fails: as no key, when the server
/// is gone or has no keyboard.
class XKeyboard {
 public:
  static constexpr XModifiers capsLock = 0x02;

  /// The connection outlives this object and has no other reader of its events.
  explicit XKeyboard(const server::Connection& connection);

  /// Takes in what the server has told about the key map. `mine` are keycodes that the caller maps
  /// itself: a change of these alone is none of the person's.
  void refresh(std::span<const xcb_keycode_t> mine);
  void note(const xcb_generic_event_t& event, std::span<const xcb_keycode_t> mine);

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

  /// How a keycode that is unmapped can be made to type several characters.
  const KeyLevels& levels() const { return levels_; }

  Locks locks() const;
  void setLocks(Locks locks) const;
  void setLockedModifiers(XModifiers affected, XModifiers values) const;

  /// Counts the readings of the map, so that others know when what they derived is out of date.
  std::uint64_t generation() const { return generation_; }

 private:
  struct Release {
    void operator()(xkb_context* context) const { xkb_context_unref(context); }
    void operator()(xkb_keymap* keymap) const { xkb_keymap_unref(keymap); }
  };

  void read();
  bool isMapped(xkb_keycode_t keycode) const;
  void indexKey(xkb_keycode_t keycode);
  void indexLevel(xkb_keycode_t keycode, xkb_layout_index_t group, xkb_level_index_t level);

  const server::Connection& connection_;
  std::unique_ptr<xkb_context, Release> context_;
  std::unique_ptr<xkb_keymap, Release> keymap_;
  std::multimap<char32_t, Stroke> strokes_;
  KeyLevels levels_ = KeyLevels::single();
  std::uint8_t firstEvent_ = 0;
  bool stale_ = true;
  std::uint64_t generation_ = 0;
};

}  // namespace vesk::x11::input
