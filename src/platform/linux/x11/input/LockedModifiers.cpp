#include "platform/linux/x11/input/LockedModifiers.h"

namespace vesk::x11::input {

void LockedModifiers::makeCapsLockTrue(bool locked) {
  auto& held = record_.held();
  if (locked == held.capsLock) return;
  if (!locked) {
    keyboard_.setLockedModifiers(capsLockModifier, 0);
    held.capsLock = false;
    record_.write();
  } else if ((keyboard_.locks().modifiers & capsLockModifier) == 0) {
    held.capsLock = true;
    record_.write();
    keyboard_.setLockedModifiers(capsLockModifier, capsLockModifier);
  }
}

void LockedModifiers::setFor(XModifiers affected, XModifiers values,
                             const std::function<void()>& stroke) {
  const Locks locks = affected == 0 ? Locks{} : keyboard_.locks();
  if ((locks.modifiers & affected) == values) return stroke();
  record_.held().locks = locks;
  record_.write();
  keyboard_.setLockedModifiers(affected, values);
  stroke();
  keyboard_.setLockedModifiers(affected, locks.modifiers);
  record_.held().locks.reset();
  record_.write();
}

}  // namespace vesk::x11::input
