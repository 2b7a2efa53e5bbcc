#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "platform/linux/keys/Xkb.h"
#include "platform/linux/x11/input/KeyLevels.h"
#include "platform/linux/x11/input/KeyboardLayout.h"
#include "platform/linux/x11/input/Stroke.h"
#include "platform/linux/x11/server/Connection.h"

namespace vesk::x11::input {

/// The person's keyboard as the X server maps it, followed as it changes.
///
/// Thread: one at a time. Owns: its description. Fails: as a layout without keys, when the server
/// is gone or has no keyboard.
class XKeyboard {
 public:
  /// The connection outlives this object and has no other reader of its events.
  explicit XKeyboard(const server::Connection& connection);

  /// Keycodes that the caller maps itself: a change of these alone is none of the person's.
  void leaveOut(std::span<const xcb_keycode_t> mine);

  /// Takes in what the server has told about the key map.
  void refresh();
  void note(const xcb_generic_event_t& event);

  /// As of the last reading; without any key before.
  const KeyboardLayout& layout() const { return layout_; }

  /// How a keycode that is unmapped can be made to type several characters.
  const KeyLevels& levels() const { return levels_; }

  /// What the person, or this program, has locked now. Asks the server.
  Locks locks() const;
  void setLocks(Locks locks) const;
  void setLockedModifiers(XModifiers affected, XModifiers values) const;

  /// Counts the readings of the map, so that others know when what they derived is out of date.
  std::uint64_t generation() const { return generation_; }

 private:
  void read();

  const server::Connection& connection_;
  keys::Xkb<xkb_context> context_;
  KeyboardLayout layout_;
  std::vector<xcb_keycode_t> mine_;
  KeyLevels levels_ = KeyLevels::single();
  std::uint8_t firstEvent_ = 0;
  bool stale_ = true;
  std::uint64_t generation_ = 0;
};

}  // namespace vesk::x11::input
