#pragma once

#include <chrono>
#include <optional>
#include <set>
#include <span>
#include <vector>

#include "platform/linux/x11/Connection.h"
#include "platform/linux/x11/XKeyboard.h"

namespace vesk::x11 {

/// Keycodes that the person's layout leaves free, lent to characters that it cannot type.
///
/// A program looks a keycode up when it reads the event, not when the key was struck. So the
/// keycode that was struck longest ago is lent anew first, and the caller learns when that was.
///
/// Thread: one at a time. Fails: as no keycode, where none is free.
class SpareKeys {
 public:
  using Time = std::chrono::steady_clock::time_point;

  explicit SpareKeys(const Connection& connection) : connection_(connection) {}

  /// Takes over what the keyboard has free now. What another mapped meanwhile is lost.
  void adopt(const XKeyboard& keyboard);

  /// How many characters can be lent a key before one that was just struck must be lent anew.
  std::size_t batch() const { return (slots_.size() + 1) / 2; }

  std::optional<xcb_keycode_t> find(xkb_keysym_t symbol) const;

  /// When the last of the keys was struck that would have to be lent anew for so many symbols, or
  /// nothing when these have not been lent at all.
  std::optional<Time> lastUseOf(std::size_t count) const;

  /// Lends the keys struck longest ago. At most `batch()` symbols.
  void lend(std::span<const xkb_keysym_t> symbols);

  void struck(xcb_keycode_t keycode, Time time);

  /// The keycodes lent at present, and all that can be lent.
  std::set<xcb_keycode_t> lent() const;
  std::span<const xcb_keycode_t> keycodes() const { return keycodes_; }

  /// The keycodes that `lend` would take.
  std::set<xcb_keycode_t> next(std::size_t count) const;

  /// Maps nothing to them again.
  void takeBack();

 private:
  struct Slot {
    xcb_keycode_t keycode = 0;
    xkb_keysym_t symbol = 0;  ///< none: not lent
    Time struck;
  };

  void sortByUse();

  const Connection& connection_;
  std::vector<Slot> slots_;  ///< the one struck longest ago first
  std::vector<xcb_keycode_t> keycodes_;
};

}  // namespace vesk::x11
