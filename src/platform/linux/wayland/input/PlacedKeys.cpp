#include "platform/linux/wayland/input/PlacedKeys.h"

#include "platform/linux/keys/KeyPositions.h"

namespace vesk::wayland::input {

void PlacedKeys::press(KeyCode code, const KeyboardLayout& layout) {
  const auto key = layout.keyAt(code);
  if (!key) return;
  // Num Lock of the viewer's keyboard serves nothing else, and may stay.
  if (keys::isKeypadDigit(code)) keyboard_.lock(layout.locksForDigits(), layout.locksForDigits());
  if (keyboard_.press(*key)) pressed_.emplace(code, *key);
}

void PlacedKeys::release(KeyCode code) {
  const auto pressed = pressed_.find(code);
  if (pressed == pressed_.end()) return;
  keyboard_.release(pressed->second);
  pressed_.erase(pressed);
}

}  // namespace vesk::wayland::input
