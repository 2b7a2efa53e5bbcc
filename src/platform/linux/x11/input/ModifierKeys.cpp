#include "platform/linux/x11/input/ModifierKeys.h"

#include <algorithm>
#include <utility>

namespace vesk::x11::input {

void ModifierKeys::makeTrue(EventFlags flags) {
  releaseUnless(flags);
  for (std::size_t i = 0; i < modifiers.size(); ++i)
    if ((flags & modifiers[i]) != 0 && keys_[i].held.empty()) pressOneOf(i);
  if ((flags & eventFlag::alphaShift) != 0) locks_.makeCapsLockTrue(/*locked=*/true);
}

void ModifierKeys::releaseUnless(EventFlags flags) {
  for (std::size_t i = 0; i < modifiers.size(); ++i)
    if ((flags & modifiers[i]) == 0) release(keys_[i]);
  if ((flags & eventFlag::alphaShift) == 0) locks_.makeCapsLockTrue(/*locked=*/false);
}

void ModifierKeys::change(const KeyboardEvent& event) {
  const EventFlags flags = event.flags.value_or(0);
  keyboard_.refresh();
  const auto keycode = event.down ? keyboard_.layout().keycodeAt(event.keyCode) : std::nullopt;
  if (keycode) prefer(*keycode, flags);
  makeTrue(flags);
  for (std::size_t i = 0; i < modifiers.size(); ++i)
    if ((flags & modifiers[i]) == 0) keys_[i].preferred.reset();
}

/// Presses the key that the viewer itself has pressed.
void ModifierKeys::prefer(xcb_keycode_t keycode, EventFlags flags) {
  for (std::size_t i = 0; i < modifiers.size(); ++i) {
    // A layout may have made another key of it, and then its position says nothing.
    const auto keys = keyboard_.layout().keysOf(modifiers[i]);
    if ((flags & modifiers[i]) == 0 || std::ranges::find(keys, keycode) == keys.end()) continue;
    keys_[i].preferred = keycode;
    if (held_.pressKey(keycode)) keys_[i].held.insert(keycode);
  }
}

void ModifierKeys::pressOneOf(std::size_t modifier) {
  keyboard_.refresh();
  auto keys = keyboard_.layout().keysOf(modifiers[modifier]);
  if (const auto preferred = keys_[modifier].preferred) keys.insert(keys.begin(), *preferred);
  for (const auto keycode : keys) {
    if (!held_.pressKey(keycode)) continue;
    keys_[modifier].held.insert(keycode);
    return;
  }
}

void ModifierKeys::release() {
  for (auto& keys : keys_) release(keys);
}

void ModifierKeys::release(Keys& keys) {
  for (const auto keycode : std::exchange(keys.held, {})) held_.releaseKey(keycode);
}

}  // namespace vesk::x11::input
