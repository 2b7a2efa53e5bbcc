#pragma once

#include <cstdint>
#include <map>
#include <span>
#include <vector>

#include "platform/linux/x11/server/Connection.h"

namespace vesk::x11::input {

/// Modifiers as the X server has them: Shift, Lock, Control, Mod1 to Mod5 from the lowest bit up.
using XModifiers = std::uint8_t;

/// A type of key, as the key map has them: how many characters such a key has, and with which
/// modifiers.
struct KeyType {
  struct Entry {
    XModifiers modifiers = 0;
    std::uint8_t level = 0;
    bool operator==(const Entry&) const = default;
  };
  std::uint8_t width = 1;
  std::vector<Entry> entries;  ///< what reaches a level; everything else reaches the first
};

/// How one keycode is made to type several characters.
struct KeyLevels {
  /// One character, by the type that every key map has in the first place.
  static KeyLevels single() { return {.type = 0, .width = 1, .reached = {{}}}; }

  std::uint8_t type = 0;  ///< the type's place in the key map
  std::uint8_t width = 1;
  std::vector<KeyType::Entry> reached;  ///< the levels that are made use of, the plainest first

  bool operator==(const KeyLevels&) const = default;
};

/// The type with the most levels that text may use, and of these the simplest. Modifiers that make
/// a command of a key, or that the person has locked, reach none.
KeyLevels mostLevels(std::span<const KeyType> types);

/// The types of the person's key map; none when the server is gone.
std::vector<KeyType> keyTypes(const server::Connection& connection);

/// What each keycode is to type, on the levels reached, in their order; nothing at all for none.
using KeySymbols = std::map<xcb_keycode_t, std::vector<xcb_keysym_t>>;

/// Maps the keycodes, with as few requests as can be. Whether the server has taken all of it; it
/// takes nothing that one of the person's keyboards cannot have. Waits for the server.
bool mapKeys(const server::Connection& connection, const KeyLevels& levels,
             const KeySymbols& symbols);

/// Maps nothing to the keycodes again. Waits for nothing.
void unmapKeys(const server::Connection& connection, std::span<const xcb_keycode_t> keycodes);

}  // namespace vesk::x11::input
