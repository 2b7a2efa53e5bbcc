#pragma once

#include <set>

#include "platform/InputGate.h"
#include "platform/linux/portal/session/StrokeQueue.h"
#include "platform/linux/wayland/input/Keyboard.h"

namespace vesk::portal::input {

/// The keyboard that a portal's session has. The compositor maps it as it does the person's own,
/// and it shares the locks with that one: they are left alone, so that nobody finds them changed.
///
/// Thread: one at a time. Owns: what it has been told to hold down. What is given to the
/// constructor outlives it. Fails: silently, where no session stands.
class PortalKeyboard final : public wayland::input::Keyboard {
 public:
  PortalKeyboard(session::StrokeQueue& strokes, const InputGate& gate)
      : strokes_(strokes), gate_(gate) {}

  bool press(wayland::input::Key key) override;
  void release(wayland::input::Key key) override;

  void lock(xkb_mod_mask_t /*affected*/, xkb_mod_mask_t /*values*/) override {}

  /// Everything is up already.
  void forget() { held_.clear(); }

  void releaseAll();

 private:
  session::StrokeQueue& strokes_;
  const InputGate& gate_;
  std::set<wayland::input::Key> held_;
};

}  // namespace vesk::portal::input
