#pragma once

#include <cstdint>
#include <optional>
#include <set>
#include <vector>

#include "platform/linux/x11/input/XKeyboard.h"
#include "platform/linux/x11/server/Connection.h"

namespace vesk::x11::input {

/// What the program has changed on the server and must undo.
struct Held {
  std::set<xcb_keycode_t> keys;
  std::set<std::uint8_t> buttons;
  std::set<xcb_keycode_t> typing;  ///< struck for text right now; perhaps down, perhaps not
  std::set<xcb_keycode_t> mapped;  ///< had nothing mapped to them before
  std::optional<Locks> locks;      ///< as they were, while they are changed for one keystroke
  bool capsLock = false;           ///< locked by the program

  bool empty() const { return *this == Held{}; }
  bool operator==(const Held&) const = default;
};

/// The record as numbers and back; numbers that make no sense are left out.
std::vector<std::uint32_t> encode(const Held& held);
Held decode(const std::vector<std::uint32_t>& numbers);

/// What is held, written down on the X server itself, as a property of the root window: it is there
/// exactly as long as the keys that it tells of can be down. A change is written before it is made
/// and struck out after it was undone. The server does both in that order, so a program that is
/// killed at any moment leaves a record of at least what it held, for the next start to undo.
///
/// Thread: one at a time. Fails: silently, when the server is gone.
class HeldRecord {
 public:
  explicit HeldRecord(const server::Connection& connection);

  /// Lets go of what the record says, and deletes it.
  void undoPredecessor(const XKeyboard& keyboard);

  /// What is held, for its holders to change and then to `write`.
  Held& held() { return held_; }

  /// Writes only what differs from the record.
  void write();

 private:
  Held read() const;

  const server::Connection& connection_;
  xcb_atom_t property_ = XCB_ATOM_NONE;
  Held held_;
  Held written_;
};

}  // namespace vesk::x11::input
