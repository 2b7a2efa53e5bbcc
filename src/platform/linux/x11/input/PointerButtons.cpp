#include "platform/linux/x11/input/PointerButtons.h"

#include <algorithm>
#include <cstdlib>
#include <span>

#include "platform/linux/x11/input/XTest.h"

namespace vesk::x11::input {
namespace {

std::uint8_t numberOf(MouseButton button) {
  switch (button) {
    case MouseButton::center:
      return 2;
    case MouseButton::right:
      return 3;
    case MouseButton::left:
      break;
  }
  return 1;
}

}  // namespace

void PointerButtons::press(MouseButton button) {
  const std::uint8_t number = numberOf(button);
  // A program sees no second press of a button that is down.
  if (pressed_.contains(button)) release(button);
  if (!gate_.isOpen() || othersHold(number)) return;
  const std::uint8_t pressed = physical(number);
  pressed_.emplace(button, pressed);
  held_.pressButton(pressed);
}

void PointerButtons::release(MouseButton button) {
  const auto pressed = pressed_.find(button);
  if (pressed == pressed_.end()) return;
  held_.releaseButton(pressed->second);
  pressed_.erase(pressed);
}

void PointerButtons::scroll(int lines) {
  constexpr std::uint8_t up = 4;
  constexpr std::uint8_t down = 5;
  constexpr int linesPerNotch = 3;
  if (lines == 0) return;
  const auto button = physical(lines > 0 ? up : down);
  const int notches = std::max(1, std::abs(lines) / linesPerNotch);
  for (int i = 0; i < notches && gate_.isOpen(); ++i) {
    fakeButton(connection_, button, Stroked::down);
    fakeButton(connection_, button, Stroked::up);
  }
}

/// A left-handed person's mouse has its buttons swapped by the server; the viewer's has not.
std::uint8_t PointerButtons::physical(std::uint8_t button) const {
  const server::ReplyPtr<xcb_get_pointer_mapping_reply_t> mapping(xcb_get_pointer_mapping_reply(
      connection_.get(), xcb_get_pointer_mapping(connection_.get()), nullptr));
  if (mapping == nullptr) return button;
  const std::span buttons(
      xcb_get_pointer_mapping_map(mapping.get()),
      static_cast<std::size_t>(xcb_get_pointer_mapping_map_length(mapping.get())));
  const auto found = std::ranges::find(buttons, button);
  if (found == buttons.end()) return button;
  return static_cast<std::uint8_t>(found - buttons.begin() + 1);
}

bool PointerButtons::othersHold(std::uint8_t button) const {
  const server::ReplyPtr<xcb_query_pointer_reply_t> pointer(xcb_query_pointer_reply(
      connection_.get(), xcb_query_pointer(connection_.get(), connection_.root()), nullptr));
  return pointer != nullptr && (pointer->mask & (XCB_BUTTON_MASK_1 << (button - 1))) != 0;
}

}  // namespace vesk::x11::input
