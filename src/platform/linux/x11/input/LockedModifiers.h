#pragma once

#include <functional>

#include "platform/linux/x11/input/HeldRecord.h"
#include "platform/linux/x11/input/XKeyboard.h"

namespace vesk::x11::input {

/// Caps Lock and Num Lock as the viewer has them, on a keyboard where the person has them too.
/// Changes are written down before they are made.
///
/// Thread: one at a time. Owns: nothing; what is given to the constructor outlives it. Fails:
/// silently, once the server is gone.
class LockedModifiers {
 public:
  LockedModifiers(const XKeyboard& keyboard, HeldRecord& record)
      : keyboard_(keyboard), record_(record) {}

  /// The viewer's Caps Lock for as long as it is on; the person's own stays as it is.
  void makeCapsLockTrue(bool locked);

  /// Makes those that are `affected` be locked as `values` say for one stroke.
  void setFor(XModifiers affected, XModifiers values, const std::function<void()>& stroke);

 private:
  const XKeyboard& keyboard_;
  HeldRecord& record_;
};

}  // namespace vesk::x11::input
