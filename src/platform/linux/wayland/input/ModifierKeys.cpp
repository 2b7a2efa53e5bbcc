#include "platform/linux/wayland/input/ModifierKeys.h"

#include <algorithm>
#include <utility>

namespace vesk::wayland::input {
namespace {

/// The same in every keymap.
constexpr xkb_mod_mask_t capsLock = 0x02;

}  // namespace

void ModifierKeys::makeTrue(EventFlags flags, const KeyboardLayout& layout) {
  releaseUnless(flags);
  for (std::size_t i = 0; i < modifiers.size(); ++i)
    if ((flags & modifiers[i]) != 0 && keys_[i].held.empty()) pressOneOf(i, layout);
  if ((flags & eventFlag::alphaShift) != 0) keyboard_.lock(capsLock, capsLock);
}

void ModifierKeys::releaseUnless(EventFlags flags) {
  for (std::size_t i = 0; i < modifiers.size(); ++i)
    if ((flags & modifiers[i]) == 0) release(keys_[i]);
  if ((flags & eventFlag::alphaShift) == 0) keyboard_.lock(capsLock, 0);
}

void ModifierKeys::change(const KeyboardEvent& event, const KeyboardLayout& layout) {
  const EventFlags flags = event.flags.value_or(0);
  const auto key = event.down ? layout.keyAt(event.keyCode) : std::nullopt;
  if (key) prefer(*key, flags, layout);
  makeTrue(flags, layout);
  for (std::size_t i = 0; i < modifiers.size(); ++i)
    if ((flags & modifiers[i]) == 0) keys_[i].preferred.reset();
}

/// Presses the key that the viewer itself has pressed.
void ModifierKeys::prefer(Key key, EventFlags flags, const KeyboardLayout& layout) {
  for (std::size_t i = 0; i < modifiers.size(); ++i) {
    // A layout may have made another key of it, and then its position says nothing.
    const auto keys = layout.keysOf(modifiers[i]);
    if ((flags & modifiers[i]) == 0 || std::ranges::find(keys, key) == keys.end()) continue;
    keys_[i].preferred = key;
    if (keyboard_.press(key)) keys_[i].held.insert(key);
  }
}

void ModifierKeys::pressOneOf(std::size_t modifier, const KeyboardLayout& layout) {
  auto keys = layout.keysOf(modifiers[modifier]);
  if (const auto preferred = keys_[modifier].preferred) keys.insert(keys.begin(), *preferred);
  if (!keys.empty() && keyboard_.press(keys.front())) keys_[modifier].held.insert(keys.front());
}

void ModifierKeys::forgetHeld() {
  for (auto& keys : keys_) keys.held.clear();
}

void ModifierKeys::release(Keys& keys) {
  for (const auto key : std::exchange(keys.held, {})) keyboard_.release(key);
}

}  // namespace vesk::wayland::input
