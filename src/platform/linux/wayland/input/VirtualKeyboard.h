#pragma once

#include <cstdint>
#include <set>

#include "platform/InputGate.h"
#include "platform/linux/keys/HeldRecord.h"
#include "platform/linux/keys/Xkb.h"
#include "platform/linux/wayland/input/Key.h"
#include "platform/linux/wayland/input/Keyboard.h"
#include "platform/linux/wayland/server/Connection.h"

namespace vesk::wayland::input {

/// A keyboard of the viewer's own beside those of the person, with whatever keymap it is given. The
/// compositor derives no modifiers from its keys: this object does, and tells them. The gate is
/// asked before each press.
///
/// Thread: one at a time. Owns: the device, and with it what is held down and locked. What is given
/// to the constructor outlives it. Fails: silently, once the compositor is gone.
class VirtualKeyboard final : public Keyboard {
 public:
  VirtualKeyboard(server::Connection& connection, wl_seat* seat, const InputGate& gate,
                  keys::HeldRecord& record);
  ~VirtualKeyboard() override;
  VirtualKeyboard(const VirtualKeyboard&) = delete;
  VirtualKeyboard& operator=(const VirtualKeyboard&) = delete;

  /// From then on its keys are those of this keymap. Lets go of everything before.
  void use(xkb_keymap* keymap);
  bool uses(const xkb_keymap* keymap) const;

  bool press(Key key) override;

  /// Presses a key that is up and lets go of it: nothing can come between that leaves it down.
  /// Whether the gate was open.
  bool pressAndRelease(Key key);

  void release(Key key) override;
  bool holds(Key key) const { return held_.contains(key); }

  void lock(xkb_mod_mask_t affected, xkb_mod_mask_t values) override;

  /// Also of what is locked.
  void releaseAll();

 private:
  struct Modifiers {
    xkb_mod_mask_t depressed = 0;
    xkb_mod_mask_t latched = 0;
    xkb_mod_mask_t locked = 0;
    xkb_layout_index_t group = 0;
    bool operator==(const Modifiers&) const = default;
  };

  void strike(Key key, wl_keyboard_key_state state);
  void tellModifiers(const Modifiers& modifiers);
  Modifiers modifiers() const;

  const InputGate& gate_;
  keys::HeldRecord& record_;
  server::Proxy<zwp_virtual_keyboard_manager_v1> manager_;
  server::Proxy<zwp_virtual_keyboard_v1> keyboard_;
  keys::Xkb<xkb_state> state_;  ///< null before the first keymap, without which no key may be told
  std::set<Key> held_;
  xkb_mod_mask_t locked_ = 0;
  Modifiers told_;
};

}  // namespace vesk::wayland::input
