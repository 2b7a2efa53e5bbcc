#include "platform/linux/x11/SpareKeys.h"

#include <algorithm>

#include "platform/linux/x11/XTest.h"

namespace vesk::x11 {

void SpareKeys::adopt(const XKeyboard& keyboard) {
  std::erase_if(slots_, [&](const Slot& slot) {
    return slot.symbol == XKB_KEY_NoSymbol || keyboard.symbol(slot.keycode) != slot.symbol;
  });
  for (const auto keycode : keyboard.unmapped())
    slots_.push_back({.keycode = keycode, .symbol = XKB_KEY_NoSymbol, .struck = {}});
  keycodes_.clear();
  for (const auto& slot : slots_) keycodes_.push_back(slot.keycode);
  sortByUse();
}

std::optional<xcb_keycode_t> SpareKeys::find(xkb_keysym_t symbol) const {
  const auto found = std::ranges::find(slots_, symbol, &Slot::symbol);
  if (found == slots_.end()) return std::nullopt;
  return found->keycode;
}

std::optional<SpareKeys::Time> SpareKeys::lastUseOf(std::size_t count) const {
  if (count == 0 || slots_.empty()) return std::nullopt;
  const Slot& latest = slots_[std::min(count, slots_.size()) - 1];
  if (latest.symbol == XKB_KEY_NoSymbol) return std::nullopt;
  return latest.struck;
}

void SpareKeys::lend(std::span<const xkb_keysym_t> symbols) {
  const auto now = std::chrono::steady_clock::now();
  std::map<xcb_keycode_t, xcb_keysym_t> mapped;
  for (std::size_t i = 0; i < std::min(symbols.size(), slots_.size()); ++i) {
    slots_[i].symbol = symbols[i];
    slots_[i].struck = now;
    mapped.emplace(slots_[i].keycode, symbols[i]);
  }
  mapSymbols(connection_, mapped);
  sortByUse();
}

void SpareKeys::struck(xcb_keycode_t keycode, Time time) {
  const auto slot = std::ranges::find(slots_, keycode, &Slot::keycode);
  if (slot == slots_.end()) return;
  slot->struck = time;
  std::rotate(slot, slot + 1, slots_.end());
}

std::set<xcb_keycode_t> SpareKeys::lent() const {
  std::set<xcb_keycode_t> result;
  for (const auto& slot : slots_)
    if (slot.symbol != XKB_KEY_NoSymbol) result.insert(slot.keycode);
  return result;
}

std::set<xcb_keycode_t> SpareKeys::next(std::size_t count) const {
  std::set<xcb_keycode_t> result;
  for (const auto& slot : std::span(slots_).first(std::min(count, slots_.size())))
    result.insert(slot.keycode);
  return result;
}

void SpareKeys::takeBack() {
  std::map<xcb_keycode_t, xcb_keysym_t> nothing;
  for (auto& slot : slots_) {
    if (slot.symbol == XKB_KEY_NoSymbol) continue;
    nothing.emplace(slot.keycode, XCB_NO_SYMBOL);
    slot.symbol = XKB_KEY_NoSymbol;
    slot.struck = {};
  }
  mapSymbols(connection_, nothing);
}

void SpareKeys::sortByUse() { std::ranges::stable_sort(slots_, {}, &Slot::struck); }

}  // namespace vesk::x11
