#include "platform/linux/x11/input/PlacedKeys.h"

#include "platform/linux/keys/KeyPositions.h"

namespace vesk::x11::input {

void PlacedKeys::press(const KeyboardEvent& event) {
  const auto keycode = keyboard_.layout().keycodeAt(event.keyCode);
  if (!keycode) return;
  XModifiers affected = 0;
  XModifiers values = 0;
  if (event.flags) {
    affected |= capsLockModifier;
    if ((*event.flags & eventFlag::alphaShift) != 0) values |= capsLockModifier;
  }
  if (keys::isKeypadDigit(event.keyCode)) {
    const XModifiers forDigit = keyboard_.layout().modifiersForDigit(*keycode);
    affected |= forDigit;
    values |= forDigit;
  }
  // The person's own Caps Lock and Num Lock are set aside for the one stroke.
  locks_.setFor(affected, values, [&] { held_.pressKey(*keycode); });
  if (held_.holdsKey(*keycode)) pressed_.emplace(event.keyCode, *keycode);
}

void PlacedKeys::release(KeyCode key) {
  const auto pressed = pressed_.find(key);
  if (pressed == pressed_.end()) return;
  held_.releaseKey(pressed->second);
  pressed_.erase(pressed);
}

}  // namespace vesk::x11::input
