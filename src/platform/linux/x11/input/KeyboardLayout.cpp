#include "platform/linux/x11/input/KeyboardLayout.h"

#include <xkbcommon/xkbcommon-keysyms.h>

#include <algorithm>
#include <array>
#include <bit>
#include <iterator>
#include <utility>

#include "platform/linux/keys/KeyPositions.h"
#include "platform/linux/keys/modifierSymbols.h"

namespace vesk::x11::input {
namespace {

bool isOfKeypad(xkb_keysym_t symbol) {
  return symbol >= XKB_KEY_KP_Space && symbol <= XKB_KEY_KP_Equal;
}

std::optional<xkb_keysym_t> onlySymbol(xkb_keymap* keymap, xkb_keycode_t keycode,
                                       xkb_layout_index_t group, xkb_level_index_t level) {
  const xkb_keysym_t* symbols = nullptr;
  const int count = xkb_keymap_key_get_syms_by_level(keymap, keycode, group, level, &symbols);
  if (count != 1) return std::nullopt;
  return symbols[0];
}

/// The fewest modifiers that reach a level, without those in `shunned`.
std::optional<XModifiers> modifiersOf(xkb_keymap* keymap, xkb_keycode_t keycode,
                                      xkb_layout_index_t group, xkb_level_index_t level,
                                      XModifiers shunned) {
  std::array<xkb_mod_mask_t, 16> masks{};
  const auto count =
      xkb_keymap_key_get_mods_for_level(keymap, keycode, group, level, masks.data(), masks.size());
  std::optional<XModifiers> best;
  for (const auto mask : std::span(masks).first(count)) {
    if ((mask & (shunned | ~xkb_mod_mask_t{0xFF})) != 0) continue;
    if (best && std::popcount(*best) <= std::popcount(mask)) continue;
    best = static_cast<XModifiers>(mask);
  }
  return best;
}

}  // namespace

KeyboardLayout::KeyboardLayout(keys::Xkb<xkb_keymap> keymap) : keymap_(std::move(keymap)) {
  for (const auto keycode : keycodes()) indexKey(keycode);
}

/// As many as the server can have: a key map may have more.
std::vector<xcb_keycode_t> KeyboardLayout::keycodes() const {
  std::vector<xcb_keycode_t> all;
  if (keymap_ == nullptr) return all;
  const auto last = std::min(xkb_keymap_max_keycode(keymap_.get()), xkb_keycode_t{255});
  for (auto keycode = xkb_keymap_min_keycode(keymap_.get()); keycode <= last; ++keycode)
    all.push_back(static_cast<xcb_keycode_t>(keycode));
  return all;
}

void KeyboardLayout::indexKey(xcb_keycode_t keycode) {
  const auto groups = xkb_keymap_num_layouts_for_key(keymap_.get(), keycode);
  for (xkb_layout_index_t group = 0; group < groups; ++group) {
    const auto levels = xkb_keymap_num_levels_for_key(keymap_.get(), keycode, group);
    for (xkb_level_index_t level = 0; level < levels; ++level) indexLevel(keycode, group, level);
  }
}

void KeyboardLayout::indexLevel(xcb_keycode_t keycode, xkb_layout_index_t group,
                                xkb_level_index_t level) {
  const auto symbol = onlySymbol(keymap_.get(), keycode, group, level);
  if (!symbol || isOfKeypad(*symbol)) return;
  const char32_t character = xkb_keysym_to_utf32(*symbol);
  if (character == 0) return;
  constexpr XModifiers control = 0x04;
  const auto modifiers =
      modifiersOf(keymap_.get(), keycode, group, level, capsLockModifier | control);
  if (!modifiers) return;
  const Stroke stroke{keycode, {*modifiers, static_cast<std::uint8_t>(group)}};
  strokes_.emplace(character, stroke);
}

std::optional<xcb_keycode_t> KeyboardLayout::keycodeAt(KeyCode key) const {
  const auto position = keys::keyPosition(key);
  if (keymap_ == nullptr || position.empty()) return std::nullopt;
  const auto found = xkb_keymap_key_by_name(keymap_.get(), position.data());
  if (found == XKB_KEYCODE_INVALID || found > 255) return std::nullopt;
  return static_cast<xcb_keycode_t>(found);
}

std::vector<xcb_keycode_t> KeyboardLayout::keysOf(EventFlags modifier) const {
  std::vector<xcb_keycode_t> found;
  const auto all = keycodes();
  for (const auto wanted : keys::modifierSymbols(modifier)) {
    std::ranges::copy_if(all, std::back_inserter(found),
                         [&](auto keycode) { return symbol(keycode, 0) == wanted; });
  }
  return found;
}

std::optional<Stroke> KeyboardLayout::strokeFor(char32_t character, std::uint8_t group,
                                                std::span<const xcb_keycode_t> excluded) const {
  const auto cost = [&](const Stroke& stroke) {
    constexpr int otherGroup = 8;  // more than any number of modifiers
    return std::popcount(stroke.locks.modifiers) + (stroke.locks.group == group ? 0 : otherGroup);
  };
  std::optional<Stroke> best;
  const auto [first, last] = strokes_.equal_range(character);
  for (auto entry = first; entry != last; ++entry) {
    const Stroke& stroke = entry->second;
    if (std::ranges::find(excluded, stroke.keycode) != excluded.end()) continue;
    if (!best || cost(stroke) < cost(*best)) best = stroke;
  }
  return best;
}

XModifiers KeyboardLayout::modifiersForDigit(xcb_keycode_t keycode) const {
  constexpr XModifiers shift = 0x01;
  if (keymap_ == nullptr) return 0;
  const auto levels = xkb_keymap_num_levels_for_key(keymap_.get(), keycode, 0);
  for (xkb_level_index_t level = 0; level < levels; ++level) {
    const auto symbol = onlySymbol(keymap_.get(), keycode, 0, level);
    if (!symbol || xkb_keysym_to_utf32(*symbol) == 0) continue;
    return modifiersOf(keymap_.get(), keycode, 0, level, shift | capsLockModifier).value_or(0);
  }
  return 0;
}

bool KeyboardLayout::isMapped(xcb_keycode_t keycode) const {
  const xkb_keysym_t* symbols = nullptr;
  const auto groups = xkb_keymap_num_layouts_for_key(keymap_.get(), keycode);
  for (xkb_layout_index_t group = 0; group < groups; ++group) {
    const auto levels = xkb_keymap_num_levels_for_key(keymap_.get(), keycode, group);
    for (xkb_level_index_t level = 0; level < levels; ++level) {
      if (xkb_keymap_key_get_syms_by_level(keymap_.get(), keycode, group, level, &symbols) > 0)
        return true;
    }
  }
  return false;
}

std::vector<xcb_keycode_t> KeyboardLayout::unmapped() const {
  auto found = keycodes();
  std::erase_if(found, [&](auto keycode) { return isMapped(keycode); });
  return found;
}

xkb_keysym_t KeyboardLayout::symbol(xcb_keycode_t keycode, std::uint8_t level) const {
  if (keymap_ == nullptr) return XKB_KEY_NoSymbol;
  return onlySymbol(keymap_.get(), keycode, 0, level).value_or(XKB_KEY_NoSymbol);
}

}  // namespace vesk::x11::input
