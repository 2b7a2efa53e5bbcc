#include "platform/linux/portal/input/LayoutSymbols.h"

namespace vesk::portal::input {
namespace {

/// By itself, with Shift, and with the modifier of the third level: compositors press no other.
constexpr xkb_level_index_t levelsInReach = 3;

}  // namespace

LayoutSymbols::LayoutSymbols(xkb_keymap* keymap) {
  if (keymap == nullptr) return;
  const auto last = xkb_keymap_max_keycode(keymap);
  for (auto keycode = xkb_keymap_min_keycode(keymap); keycode <= last; ++keycode) {
    const auto groups = xkb_keymap_num_layouts_for_key(keymap, keycode);
    for (xkb_layout_index_t group = 0; group < groups; ++group) {
      const auto levels = xkb_keymap_num_levels_for_key(keymap, keycode, group);
      for (xkb_level_index_t level = 0; level < levels; ++level) {
        const xkb_keysym_t* symbols = nullptr;
        if (xkb_keymap_key_get_syms_by_level(keymap, keycode, group, level, &symbols) == 1)
          add(symbols[0], level);
      }
    }
  }
}

void LayoutSymbols::add(xkb_keysym_t symbol, xkb_level_index_t level) {
  const char32_t character = xkb_keysym_to_utf32(symbol);
  if (character == 0) return;
  if (level < levelsInReach) {
    symbols_.emplace(character, symbol);
  } else {
    outOfReach_.insert(character);
  }
}

bool LayoutSymbols::isOutOfReach(char32_t character) const {
  return !symbols_.contains(character) && outOfReach_.contains(character);
}

std::optional<xkb_keysym_t> LayoutSymbols::find(char32_t character) const {
  const auto found = symbols_.find(character);
  return found == symbols_.end() ? std::nullopt : std::optional(found->second);
}

}  // namespace vesk::portal::input
