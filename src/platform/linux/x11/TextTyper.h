#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "platform/linux/x11/HeldRecord.h"
#include "platform/linux/x11/Reader.h"
#include "platform/linux/x11/SpareKeys.h"
#include "platform/linux/x11/Utf16Joiner.h"
#include "platform/linux/x11/XKeyboard.h"

namespace vesk::x11 {

/// Types characters whatever the person's layout is: by the layout's own keys where it has the
/// character, and by keycodes that it leaves free otherwise.
///
/// Thread: one at a time. Owns: the lending of free keycodes. Fails: a character that cannot be
/// typed is left out.
class TextTyper {
 public:
  /// All outlive this object. `held` is what the record was last told.
  TextTyper(const Connection& connection, XKeyboard& keyboard, Held& held, HeldRecord& record);

  /// Types a run of UTF-16. The caller has let go of the modifiers that it holds.
  void type(std::u16string_view run);

  /// The text is at an end: a half of a pair that still waits belongs to nothing.
  void endText() { joiner_.reset(); }

  /// Gives the lent keycodes back. Not to be done soon after text was typed: a program that has not
  /// read the keys yet would find nothing on them.
  void takeBack();

  /// The keycodes that this object maps at will.
  std::span<const xcb_keycode_t> keycodes() const { return spares_.keycodes(); }

 private:
  /// A character and its key: of the layout, or lent.
  struct Planned {
    xkb_keysym_t symbol = 0;
    std::optional<Stroke> stroke;
  };

  std::vector<Planned> plan(const std::u32string& characters, std::uint8_t group) const;
  std::span<const Planned> nextPart(std::span<const Planned> planned) const;
  void lendFor(std::span<const Planned> part);
  void awaitReader(SpareKeys::Time lastUse);
  void strike(std::span<const Planned> part, Locks locks);
  std::optional<Stroke> strokeOf(const Planned& planned, Locks locks) const;

  const Connection& connection_;
  XKeyboard& keyboard_;
  Held& held_;
  HeldRecord& record_;
  SpareKeys spares_;
  Reader reader_;
  Utf16Joiner joiner_;
  std::uint64_t generation_ = 0;
};

}  // namespace vesk::x11
