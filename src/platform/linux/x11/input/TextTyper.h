#pragma once

#include <chrono>
#include <string>
#include <string_view>
#include <vector>

#include "platform/InputGate.h"
#include "platform/linux/keys/Utf16Joiner.h"
#include "platform/linux/x11/input/HeldRecord.h"
#include "platform/linux/x11/input/SpareKeys.h"
#include "platform/linux/x11/input/XKeyboard.h"
#include "platform/linux/x11/server/Reader.h"

namespace vesk::x11::input {

/// Types characters whatever the person's layout is: by the layout's own keys where it has the
/// character, and by keycodes that it leaves free otherwise.
///
/// The gate is asked before each stroke, and in every wait; once it is shut, the rest is dropped.
///
/// Thread: one at a time. Owns: the lending of free keycodes. Fails: a character that cannot be
/// typed is left out.
class TextTyper {
 public:
  /// All outlive this object.
  TextTyper(const server::Connection& connection, const InputGate& gate, XKeyboard& keyboard,
            HeldRecord& record);

  /// Types a run of UTF-16. The caller has let go of the modifiers that it holds.
  void type(std::u16string_view run);

  /// The text is at an end: a half of a pair that still waits belongs to nothing.
  void endText() { joiner_.reset(); }

  /// Gives the lent keycodes back once the program with the focus has read its keys, since it would
  /// find nothing on them then, or once the patience is at an end. False where the gate was shut
  /// first; they are still lent then.
  bool takeBackOnceRead(std::chrono::milliseconds patience = usualPatience);

  /// The same at once, whoever has yet to read what.
  void takeBack();

 private:
  /// How long a program that takes questions may leave one without an answer.
  static constexpr std::chrono::milliseconds usualPatience{1000};

  using Time = SpareKeys::Time;

  /// A character and its key: of the layout, or lent.
  struct Planned {
    xkb_keysym_t symbol = 0;
    std::optional<Stroke> stroke;
  };

  std::vector<Planned> plan(const std::u32string& characters, std::uint8_t group) const;
  std::span<const Planned> nextPart(std::span<const Planned> planned) const;
  bool lendFor(std::span<const Planned> part);
  std::vector<xkb_keysym_t> missingOf(std::span<const Planned> part);
  bool awaitReader(Time lastUse, std::chrono::milliseconds patience);
  bool strike(std::span<const Planned> part, Locks locks);
  std::optional<Stroke> strokeOf(const Planned& planned, Locks locks) const;

  const server::Connection& connection_;
  const InputGate& gate_;
  XKeyboard& keyboard_;
  HeldRecord& record_;
  Held& held_;
  SpareKeys spares_;
  server::Reader reader_;
  keys::Utf16Joiner joiner_;
  std::uint64_t generation_ = 0;
  Time lastStroke_;
  Time read_;  ///< what was struck before was read
};

}  // namespace vesk::x11::input
