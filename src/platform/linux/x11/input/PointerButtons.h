#pragma once

#include <map>

#include "platform/Events.h"
#include "platform/linux/x11/input/HeldDown.h"

namespace vesk::x11::input {

/// The viewer's mouse buttons and wheel on the person's mouse, which may have its buttons swapped.
/// A button that somebody else holds is neither pressed nor let go.
///
/// Thread: one at a time. Owns: which button stands for which; what is given to the constructor
/// outlives it. Fails: silently, once the server is gone.
class PointerButtons {
 public:
  PointerButtons(const server::Connection& connection, const InputGate& gate, HeldDown& held)
      : connection_(connection), gate_(gate), held_(held) {}

  void press(MouseButton button);
  void release(MouseButton button);

  /// Up for more than 0. The gate is asked before each notch.
  void scroll(int lines);

  /// All are up already.
  void forget() { pressed_.clear(); }

 private:
  std::uint8_t physical(std::uint8_t button) const;
  bool othersHold(std::uint8_t button) const;

  const server::Connection& connection_;
  const InputGate& gate_;
  HeldDown& held_;
  std::map<MouseButton, std::uint8_t> pressed_;
};

}  // namespace vesk::x11::input
