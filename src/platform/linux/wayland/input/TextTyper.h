#pragma once

#include <functional>
#include <string>
#include <string_view>

#include "platform/InputGate.h"
#include "platform/linux/keys/Utf16Joiner.h"
#include "platform/linux/keys/Xkb.h"
#include "platform/linux/wayland/input/TextKeymap.h"
#include "platform/linux/wayland/input/VirtualKeyboard.h"

namespace vesk::wayland::input {

/// Types characters whatever the person's layout is: the viewer's keyboard gets a keymap with just
/// these characters, and none of its keys or modifiers is down meanwhile.
///
/// The gate is asked before each stroke; once it is shut, the rest is dropped.
///
/// Thread: one at a time. Owns: the keymap for text; what is given to the constructor outlives it.
/// Fails: a character that cannot be typed is left out.
class TextTyper {
 public:
  /// `mayGoOn` is asked every few characters, and sends what has been typed: a long text is more
  /// than the connection holds back.
  TextTyper(VirtualKeyboard& keyboard, const InputGate& gate, std::function<bool()> mayGoOn);

  /// Types a run of UTF-16. What was held before on the keyboard is up then.
  void type(std::u16string_view run);

  /// The text is at an end: a half of a pair that still waits belongs to nothing.
  void endText() { joiner_.reset(); }

 private:
  bool typePart(std::u32string_view part);
  void giveKeys(std::u32string_view part);

  VirtualKeyboard& keyboard_;
  const InputGate& gate_;
  const std::function<bool()> mayGoOn_;
  keys::Utf16Joiner joiner_;
  TextKeymap characters_;
  keys::Xkb<xkb_context> context_;
  keys::Xkb<xkb_keymap> keymap_;
};

}  // namespace vesk::wayland::input
