#pragma once

#include <xkbcommon/xkbcommon.h>

#include <map>
#include <optional>
#include <set>

namespace vesk::portal::input {

/// The characters that a keymap has keys for, each with the symbol by which a compositor finds its
/// key.
///
/// Thread: one at a time. Owns: a table; the keymap is looked at by the constructor alone. Fails:
/// as a layout without characters, where there is no keymap.
class LayoutSymbols {
 public:
  LayoutSymbols() = default;
  explicit LayoutSymbols(xkb_keymap* keymap);

  std::optional<xkb_keysym_t> find(char32_t character) const;

  /// Whether there is a key, but with modifiers that a compositor does not press for a symbol: it
  /// would press the key without them, and so type another character.
  bool isOutOfReach(char32_t character) const;

 private:
  void add(xkb_keysym_t symbol, xkb_level_index_t level);

  std::map<char32_t, xkb_keysym_t> symbols_;
  std::set<char32_t> outOfReach_;
};

}  // namespace vesk::portal::input
