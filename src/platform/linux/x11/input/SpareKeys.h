#pragma once

#include <chrono>
#include <optional>
#include <span>
#include <vector>

#include "platform/linux/x11/input/KeyLevels.h"
#include "platform/linux/x11/input/XKeyboard.h"
#include "platform/linux/x11/server/Connection.h"

namespace vesk::x11::input {

/// Keycodes that the person's layout leaves free, lent to characters that it cannot type, several
/// to each.
///
/// A program looks a keycode up when it reads the event, not when the key was struck. So the
/// keycode that was struck longest ago is lent anew first, and the caller learns when that was. A
/// level that has no character yet can be lent at any time.
///
/// Thread: one at a time. Fails: as no keycode, where none is free.
class SpareKeys {
 public:
  using Time = std::chrono::steady_clock::time_point;

  /// What is to be lent: each keycode with all that it will type then.
  struct Lending {
    KeySymbols keys;
    std::optional<Time> lastUse;  ///< of those that type something else until then
  };

  explicit SpareKeys(const server::Connection& connection) : connection_(connection) {}

  /// Takes over what the keyboard has free now. What another mapped meanwhile is lost.
  void adopt(const XKeyboard& keyboard);

  /// How many characters are to be lent a key at a time: as many as share two of them, so that the
  /// wait for the oldest is for few, and never more than can have one together, whichever of them
  /// have one already.
  std::size_t batch() const;

  /// How to type a character that was lent a key, in the given group.
  std::optional<Stroke> find(xkb_keysym_t symbol, std::uint8_t group) const;

  /// How characters that have no key would get one.
  Lending plan(std::span<const xkb_keysym_t> symbols) const;

  /// Whether the server has taken it. Where it has not, because another of the person's keyboards
  /// is mapped differently, nothing is lent any more; each key gets one character from now on, as
  /// every keyboard can have it, and the lending is to be planned anew.
  bool lend(const Lending& lending);

  void struck(xcb_keycode_t keycode, Time time);

  /// All that can be lent.
  std::span<const xcb_keycode_t> keycodes() const { return keycodes_; }

  /// Maps nothing to them again.
  void takeBack();

 private:
  struct Key {
    xcb_keycode_t keycode = 0;
    std::vector<xcb_keysym_t> symbols;  ///< by level; none: not lent
    Time struck;
  };

  bool isStillLent(const Key& key, const XKeyboard& keyboard) const;

  const server::Connection& connection_;
  KeyLevels levels_ = KeyLevels::single();
  std::vector<Key> keys_;  ///< the one struck longest ago first
  std::vector<xcb_keycode_t> keycodes_;
};

}  // namespace vesk::x11::input
