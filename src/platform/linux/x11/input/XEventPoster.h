#pragma once

#include <mutex>

#include "platform/Events.h"
#include "platform/InputGate.h"
#include "platform/linux/loop/IdleTimer.h"
#include "platform/linux/x11/input/HeldDown.h"
#include "platform/linux/x11/input/HeldRecord.h"
#include "platform/linux/x11/input/LockedModifiers.h"
#include "platform/linux/x11/input/ModifierKeys.h"
#include "platform/linux/x11/input/PlacedKeys.h"
#include "platform/linux/x11/input/PointerButtons.h"
#include "platform/linux/x11/input/TextTyper.h"
#include "platform/linux/x11/input/XKeyboard.h"
#include "platform/linux/x11/server/Connection.h"

namespace vesk::x11::input {

/// Posts events by the XTest extension: hands each to what translates it, between the gate and the
/// lock.
///
/// The gate is asked before each stroke: while it is shut nothing is pressed, moved or typed, and
/// what is held can be let go. Closing it lets go of everything.
///
/// Thread: any. Owns: its connection; what it holds down, which it lets go of when it ends, or when
/// it starts after a predecessor that could not. Fails: silently, once the server is gone.
class XEventPoster final : public EventPoster {
 public:
  /// The gate outlives this object, which is the one that acts when it closes.
  explicit XEventPoster(InputGate& gate);
  ~XEventPoster() override;

  void post(const MouseEvent& event) override;
  void post(const KeyboardEvent& event) override;
  void post(const ScrollEvent& event) override;
  std::optional<Point> pointerLocation() override;

 private:
  void letGo();
  void takeBackLentKeys();
  void postKey(const KeyboardEvent& event);
  void type(const std::u16string& run);
  void flush() const { xcb_flush(connection_.get()); }

  InputGate& gate_;
  /// Against the timer that takes lent keycodes back, and whoever closes the gate.
  std::mutex mutex_;
  server::Connection connection_;
  XKeyboard keyboard_{connection_};
  HeldRecord record_{connection_};
  HeldDown held_{connection_, gate_, record_};
  LockedModifiers locks_{keyboard_, record_};
  PointerButtons buttons_{connection_, gate_, held_};
  ModifierKeys modifiers_{keyboard_, held_, locks_};
  PlacedKeys keys_{keyboard_, held_, locks_};
  TextTyper typer_{connection_, gate_, keyboard_, record_};
  loop::IdleTimer afterText_;
};

}  // namespace vesk::x11::input
