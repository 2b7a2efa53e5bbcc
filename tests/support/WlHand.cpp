#include "support/WlHand.h"

#include <linux/input-event-codes.h>
#include <sys/mman.h>
#include <unistd.h>
#include <xkbcommon/xkbcommon.h>

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <stdexcept>
#include <string>

#include "platform/Descriptor.h"
#include "support/Patience.h"

namespace vesk::testing {
namespace {

std::string americanKeymap() {
  xkb_context* const context = xkb_context_new(XKB_CONTEXT_NO_FLAGS);
  xkb_rule_names names{};
  names.layout = "us";
  xkb_keymap* const keymap =
      xkb_keymap_new_from_names(context, &names, XKB_KEYMAP_COMPILE_NO_FLAGS);
  if (keymap == nullptr) throw std::runtime_error("no American layout");
  char* const text = xkb_keymap_get_as_string(keymap, XKB_KEYMAP_FORMAT_TEXT_V1);
  std::string result(text);
  std::free(text);
  xkb_keymap_unref(keymap);
  xkb_context_unref(context);
  return result;
}

}  // namespace

WlHand::WlHand()
    : seat_(connection_.bind<wl_seat>(wl_seat_interface, 5)),
      pointers_(connection_.bind<zwlr_virtual_pointer_manager_v1>(
          zwlr_virtual_pointer_manager_v1_interface, 2)),
      keyboards_(connection_.bind<zwp_virtual_keyboard_manager_v1>(
          zwp_virtual_keyboard_manager_v1_interface, 1)) {
  if (pointers_ == nullptr || keyboards_ == nullptr) throw std::runtime_error("no hands here");
  pointer_.reset(
      zwlr_virtual_pointer_manager_v1_create_virtual_pointer(pointers_.get(), seat_.get()));
  keyboard_.reset(
      zwp_virtual_keyboard_manager_v1_create_virtual_keyboard(keyboards_.get(), seat_.get()));
  setKeymap();
  settle();
}

void WlHand::setKeymap() {
  const std::string text = americanKeymap();
  const std::size_t size = text.size() + 1;
  const Descriptor file(::memfd_create("keymap", MFD_CLOEXEC));
  if (::write(file.get(), text.c_str(), size) != static_cast<ssize_t>(size))
    throw std::runtime_error("no memory for a keymap");
  zwp_virtual_keyboard_v1_keymap(keyboard_.get(), WL_KEYBOARD_KEYMAP_FORMAT_XKB_V1, file.get(),
                                 static_cast<std::uint32_t>(size));
}

void WlHand::moveTo(Point place, PixelSize screen) {
  zwlr_virtual_pointer_v1_motion_absolute(
      pointer_.get(), now(), static_cast<std::uint32_t>(place.x),
      static_cast<std::uint32_t>(place.y), static_cast<std::uint32_t>(screen.width),
      static_cast<std::uint32_t>(screen.height));
  zwlr_virtual_pointer_v1_frame(pointer_.get());
  settle();
}

void WlHand::press(std::uint32_t button) {
  zwlr_virtual_pointer_v1_button(pointer_.get(), now(), button, WL_POINTER_BUTTON_STATE_PRESSED);
  zwlr_virtual_pointer_v1_frame(pointer_.get());
  settle();
}

void WlHand::release(std::uint32_t button) {
  zwlr_virtual_pointer_v1_button(pointer_.get(), now(), button, WL_POINTER_BUTTON_STATE_RELEASED);
  zwlr_virtual_pointer_v1_frame(pointer_.get());
  settle();
}

void WlHand::click(std::uint32_t button) {
  press(button);
  release(button);
}

void WlHand::keyDown(std::uint32_t key) {
  zwp_virtual_keyboard_v1_key(keyboard_.get(), now(), key, WL_KEYBOARD_KEY_STATE_PRESSED);
  if (key == KEY_LEFTSHIFT) shift_ = true;
  updateModifiers();
  settle();
}

void WlHand::keyUp(std::uint32_t key) {
  zwp_virtual_keyboard_v1_key(keyboard_.get(), now(), key, WL_KEYBOARD_KEY_STATE_RELEASED);
  if (key == KEY_LEFTSHIFT) shift_ = false;
  updateModifiers();
  settle();
}

void WlHand::tap(std::uint32_t key) {
  keyDown(key);
  keyUp(key);
}

/// A virtual keyboard tells of them by itself.
void WlHand::updateModifiers() {
  zwp_virtual_keyboard_v1_modifiers(keyboard_.get(), shift_ ? 1 : 0, 0, 0, 0);
}

/// As a kernel stamps what hands do, which are never so quick that two strokes have one time.
std::uint32_t WlHand::now() {
  const auto since = std::chrono::steady_clock::now().time_since_epoch();
  last_ = std::max(last_ + std::chrono::milliseconds(1),
                   std::chrono::duration_cast<std::chrono::milliseconds>(since));
  return static_cast<std::uint32_t>(last_.count());
}

void WlHand::settle() {
  connection_.settle(wayland::server::Connection::Clock::now() +
                     std::chrono::milliseconds(patience()));
}

}  // namespace vesk::testing
