#pragma once

#include "platform/InputGate.h"
#include "platform/linux/x11/input/HeldRecord.h"
#include "platform/linux/x11/server/Connection.h"

namespace vesk::x11::input {

/// Posts presses and releases of keys and buttons, and writes down what is held down by them. Keys
/// that somebody else holds are neither pressed nor let go. The gate is asked before each press.
///
/// Thread: one at a time. Owns: nothing; what is given to the constructor outlives it. Fails:
/// silently, once the server is gone.
class HeldDown {
 public:
  HeldDown(const server::Connection& connection, const InputGate& gate, HeldRecord& record)
      : connection_(connection), gate_(gate), record_(record) {}

  /// Whether this object holds the key now.
  bool pressKey(xcb_keycode_t keycode);
  void releaseKey(xcb_keycode_t keycode);
  bool holdsKey(xcb_keycode_t keycode) const { return record_.held().keys.contains(keycode); }

  /// By its number on the person's mouse.
  void pressButton(std::uint8_t button);
  void releaseButton(std::uint8_t button);

  /// Lets go of all keys and buttons. The caller writes the record.
  void releaseAll();

 private:
  bool othersHold(xcb_keycode_t keycode) const;

  const server::Connection& connection_;
  const InputGate& gate_;
  HeldRecord& record_;
};

}  // namespace vesk::x11::input
