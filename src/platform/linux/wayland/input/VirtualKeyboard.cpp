#include "platform/linux/wayland/input/VirtualKeyboard.h"

#include <utility>

#include "platform/linux/wayland/input/eventTime.h"
#include "platform/linux/wayland/input/ownKeymap.h"
#include "platform/linux/wayland/input/sealedFile.h"

namespace vesk::wayland::input {

VirtualKeyboard::VirtualKeyboard(server::Connection& connection, wl_seat* seat,
                                 const InputGate& gate, keys::HeldRecord& record)
    : gate_(gate),
      record_(record),
      manager_(connection.bind<zwp_virtual_keyboard_manager_v1>(
          zwp_virtual_keyboard_manager_v1_interface, 1)) {
  if (manager_ != nullptr && seat != nullptr)
    keyboard_.reset(zwp_virtual_keyboard_manager_v1_create_virtual_keyboard(manager_.get(), seat));
}

VirtualKeyboard::~VirtualKeyboard() { releaseAll(); }

void VirtualKeyboard::use(xkb_keymap* keymap) {
  if (keyboard_ == nullptr || keymap == nullptr) return;
  releaseAll();
  const std::string text = ownKeymapText(keymap);
  const Descriptor file = sealedFile(text);
  keys::Xkb<xkb_state> state(xkb_state_new(keymap));
  if (text.empty() || !file || state == nullptr) return;
  zwp_virtual_keyboard_v1_keymap(keyboard_.get(), WL_KEYBOARD_KEYMAP_FORMAT_XKB_V1, file.get(),
                                 static_cast<std::uint32_t>(text.size() + 1));
  state_ = std::move(state);
  // What a new keymap begins with is the compositor's to say.
  tellModifiers({});
}

bool VirtualKeyboard::uses(const xkb_keymap* keymap) const {
  return state_ != nullptr && xkb_state_get_keymap(state_.get()) == keymap;
}

bool VirtualKeyboard::press(Key key) {
  if (state_ == nullptr || holds(key) || !gate_.isOpen()) return holds(key);
  held_.insert(key);
  record_.add(key);
  strike(key, WL_KEYBOARD_KEY_STATE_PRESSED);
  return true;
}

bool VirtualKeyboard::pressAndRelease(Key key) {
  if (state_ == nullptr || !gate_.isOpen()) return false;
  strike(key, WL_KEYBOARD_KEY_STATE_PRESSED);
  strike(key, WL_KEYBOARD_KEY_STATE_RELEASED);
  return true;
}

void VirtualKeyboard::release(Key key) {
  if (held_.erase(key) == 0) return;
  strike(key, WL_KEYBOARD_KEY_STATE_RELEASED);
  record_.remove(key);
}

void VirtualKeyboard::strike(Key key, wl_keyboard_key_state state) {
  zwp_virtual_keyboard_v1_key(keyboard_.get(), eventTime(), key, state);
  const bool isPress = state == WL_KEYBOARD_KEY_STATE_PRESSED;
  xkb_state_update_key(state_.get(), key + keys::keycodeOffset,
                       isPress ? XKB_KEY_DOWN : XKB_KEY_UP);
  if (const auto now = modifiers(); now != told_) tellModifiers(now);
}

/// What the keys lock themselves is left out: what the viewer's locks are is said otherwise.
VirtualKeyboard::Modifiers VirtualKeyboard::modifiers() const {
  const auto part = [this](xkb_state_component component) {
    return xkb_state_serialize_mods(state_.get(), component);
  };
  return {.depressed = part(XKB_STATE_MODS_DEPRESSED),
          .latched = part(XKB_STATE_MODS_LATCHED),
          .locked = locked_,
          .group = xkb_state_serialize_layout(state_.get(), XKB_STATE_LAYOUT_EFFECTIVE)};
}

void VirtualKeyboard::lock(xkb_mod_mask_t affected, xkb_mod_mask_t values) {
  if (state_ == nullptr) return;
  locked_ = (locked_ & ~affected) | values;
  if (const auto now = modifiers(); now != told_) tellModifiers(now);
}

void VirtualKeyboard::tellModifiers(const Modifiers& modifiers) {
  told_ = modifiers;
  zwp_virtual_keyboard_v1_modifiers(keyboard_.get(), modifiers.depressed, modifiers.latched,
                                    modifiers.locked, modifiers.group);
}

void VirtualKeyboard::releaseAll() {
  for (const auto key : std::set(held_)) release(key);
  lock(locked_, 0);
}

}  // namespace vesk::wayland::input
