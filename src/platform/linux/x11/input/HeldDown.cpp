#include "platform/linux/x11/input/HeldDown.h"

#include <utility>

#include "platform/linux/x11/input/XTest.h"

namespace vesk::x11::input {

bool HeldDown::pressKey(xcb_keycode_t keycode) {
  if (!gate_.isOpen()) return holdsKey(keycode);
  if (!holdsKey(keycode)) {
    if (othersHold(keycode)) return false;
    record_.held().keys.insert(keycode);
    record_.write();
  }
  fakeKey(connection_, keycode, Stroked::down);
  return true;
}

void HeldDown::releaseKey(xcb_keycode_t keycode) {
  fakeKey(connection_, keycode, Stroked::up);
  record_.held().keys.erase(keycode);
  record_.write();
}

void HeldDown::pressButton(std::uint8_t button) {
  record_.held().buttons.insert(button);
  record_.write();
  fakeButton(connection_, button, Stroked::down);
}

void HeldDown::releaseButton(std::uint8_t button) {
  fakeButton(connection_, button, Stroked::up);
  record_.held().buttons.erase(button);
  record_.write();
}

void HeldDown::releaseAll() {
  for (const auto button : std::exchange(record_.held().buttons, {}))
    fakeButton(connection_, button, Stroked::up);
  for (const auto keycode : std::exchange(record_.held().keys, {}))
    fakeKey(connection_, keycode, Stroked::up);
}

bool HeldDown::othersHold(xcb_keycode_t keycode) const {
  constexpr unsigned bitsPerByte = 8;
  const server::ReplyPtr<xcb_query_keymap_reply_t> keys(
      xcb_query_keymap_reply(connection_.get(), xcb_query_keymap(connection_.get()), nullptr));
  return keys != nullptr &&
         (keys->keys[keycode / bitsPerByte] >> (keycode % bitsPerByte) & 1U) != 0;
}

}  // namespace vesk::x11::input
