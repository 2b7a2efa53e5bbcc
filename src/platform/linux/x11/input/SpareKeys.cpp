#include "platform/linux/x11/input/SpareKeys.h"

#include <algorithm>

namespace vesk::x11::input {

void SpareKeys::adopt(const XKeyboard& keyboard) {
  levels_ = keyboard.levels();
  std::erase_if(keys_, [&](const Key& key) { return !isStillLent(key, keyboard); });
  for (const auto keycode : keyboard.layout().unmapped())
    keys_.push_back({.keycode = keycode, .symbols = {}, .struck = {}});
  keycodes_.clear();
  for (const auto& key : keys_) keycodes_.push_back(key.keycode);
  std::ranges::stable_sort(keys_, {}, &Key::struck);
}

bool SpareKeys::isStillLent(const Key& key, const XKeyboard& keyboard) const {
  if (key.symbols.empty() || key.symbols.size() > levels_.reached.size()) return false;
  for (std::size_t i = 0; i < key.symbols.size(); ++i) {
    const auto symbol = keyboard.layout().symbol(key.keycode, levels_.reached[i].level);
    if (symbol != key.symbols[i]) return false;
  }
  return true;
}

std::size_t SpareKeys::batch() const {
  constexpr std::size_t keysAtATime = 2;
  const std::size_t few = std::min(keysAtATime * levels_.reached.size(), keys_.size());
  return std::max(few, std::size_t{1});
}

std::optional<Stroke> SpareKeys::find(xkb_keysym_t symbol, std::uint8_t group) const {
  for (const auto& key : keys_) {
    const auto found = std::ranges::find(key.symbols, symbol);
    if (found == key.symbols.end()) continue;
    const auto index = static_cast<std::size_t>(found - key.symbols.begin());
    return Stroke{key.keycode, {levels_.reached[index].modifiers, group}};
  }
  return std::nullopt;
}

SpareKeys::Lending SpareKeys::plan(std::span<const xkb_keysym_t> symbols) const {
  Lending lending;
  const auto take = [&](const Key& key, std::vector<xcb_keysym_t> kept) {
    const auto count = std::min(symbols.size(), levels_.reached.size() - kept.size());
    kept.insert(kept.end(), symbols.begin(), symbols.begin() + static_cast<std::ptrdiff_t>(count));
    symbols = symbols.subspan(count);
    lending.keys[key.keycode] = std::move(kept);
  };
  for (const auto& key : keys_) {
    if (symbols.empty()) break;
    if (!key.symbols.empty() && key.symbols.size() < levels_.reached.size()) take(key, key.symbols);
  }
  for (const auto& key : keys_) {
    if (symbols.empty()) break;
    if (lending.keys.contains(key.keycode)) continue;
    if (!key.symbols.empty()) lending.lastUse = key.struck;
    take(key, {});
  }
  return lending;
}

bool SpareKeys::lend(const Lending& lending) {
  const auto now = Time::clock::now();
  for (const auto& [keycode, symbols] : lending.keys) {
    const auto key = std::ranges::find(keys_, keycode, &Key::keycode);
    if (key != keys_.end()) key->symbols = symbols;
    struck(keycode, now);
  }
  if (mapKeys(connection_, levels_, lending.keys)) return true;
  takeBack();
  levels_ = KeyLevels::single();
  return false;
}

void SpareKeys::struck(xcb_keycode_t keycode, Time time) {
  const auto key = std::ranges::find(keys_, keycode, &Key::keycode);
  if (key == keys_.end()) return;
  key->struck = time;
  std::rotate(key, key + 1, keys_.end());
}

void SpareKeys::takeBack() {
  std::vector<xcb_keycode_t> lent;
  for (auto& key : keys_) {
    if (key.symbols.empty()) continue;
    lent.push_back(key.keycode);
    key.symbols.clear();
    key.struck = {};
  }
  unmapKeys(connection_, lent);
}

}  // namespace vesk::x11::input
