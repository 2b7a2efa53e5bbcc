#include "platform/linux/wayland/input/KeyboardLayout.h"

#include <array>

#include "platform/linux/keys/KeyPositions.h"
#include "platform/linux/keys/modifierSymbols.h"

namespace vesk::wayland::input {

std::optional<xkb_keycode_t> KeyboardLayout::keycodeOf(const char* position) const {
  if (keymap_ == nullptr || *position == '\0') return std::nullopt;
  const auto keycode = xkb_keymap_key_by_name(keymap_, position);
  const bool isKey = keycode != XKB_KEYCODE_INVALID && keycode > keys::keycodeOffset;
  return isKey ? std::optional(keycode) : std::nullopt;
}

std::optional<Key> KeyboardLayout::keyAt(KeyCode key) const {
  // A view of a literal, which ends with a zero; or of nothing.
  const auto position = keys::keyPosition(key);
  const auto keycode = keycodeOf(position.empty() ? "" : position.data());
  return keycode ? std::optional(*keycode - keys::keycodeOffset) : std::nullopt;
}

std::vector<Key> KeyboardLayout::keysOf(EventFlags modifier) const {
  std::vector<Key> found;
  if (keymap_ == nullptr) return found;
  const auto last = xkb_keymap_max_keycode(keymap_);
  for (const auto wanted : keys::modifierSymbols(modifier)) {
    for (xkb_keycode_t keycode = keys::keycodeOffset + 1; keycode <= last; ++keycode)
      if (symbol(keycode, 0) == wanted) found.push_back(keycode - keys::keycodeOffset);
  }
  return found;
}

bool KeyboardLayout::isLetter(Key key) const {
  if (keymap_ == nullptr) return false;
  const auto lower = symbol(key + keys::keycodeOffset, 0);
  return xkb_keysym_to_upper(lower) != lower;
}

std::optional<char32_t> KeyboardLayout::digitAt(KeyCode key) const {
  const auto placed = keyAt(key);
  if (!placed) return std::nullopt;
  const auto keycode = *placed + keys::keycodeOffset;
  const auto levels = xkb_keymap_num_levels_for_key(keymap_, keycode, 0);
  for (xkb_level_index_t level = 0; level < levels; ++level) {
    const char32_t typed = xkb_keysym_to_utf32(symbol(keycode, level));
    if (typed > U' ' && typed != U'\x7F') return typed;
  }
  return std::nullopt;
}

xkb_mod_mask_t KeyboardLayout::locksForDigits() const {
  const auto one = keycodeOf("KP1");
  if (!one) return 0;
  const auto levels = xkb_keymap_num_levels_for_key(keymap_, *one, 0);
  const auto shift = xkb_keymap_mod_get_index(keymap_, XKB_MOD_NAME_SHIFT);
  for (xkb_level_index_t level = 0; level < levels; ++level) {
    if (xkb_keysym_to_utf32(symbol(*one, level)) == 0) continue;
    std::array<xkb_mod_mask_t, 16> masks{};
    const auto count =
        xkb_keymap_key_get_mods_for_level(keymap_, *one, 0, level, masks.data(), masks.size());
    for (const auto mask : std::span(masks).first(count))
      if ((mask & (xkb_mod_mask_t{1} << shift)) == 0) return mask;
  }
  return 0;
}

xkb_keysym_t KeyboardLayout::symbol(xkb_keycode_t keycode, xkb_level_index_t level) const {
  const xkb_keysym_t* symbols = nullptr;
  const int count = xkb_keymap_key_get_syms_by_level(keymap_, keycode, 0, level, &symbols);
  return count == 1 ? symbols[0] : static_cast<xkb_keysym_t>(XKB_KEY_NoSymbol);
}

}  // namespace vesk::wayland::input
