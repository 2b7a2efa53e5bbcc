#pragma once

#include <array>
#include <map>
#include <mutex>
#include <set>

#include "platform/Events.h"
#include "platform/InputGate.h"
#include "platform/linux/loop/IdleTimer.h"
#include "platform/linux/x11/input/HeldRecord.h"
#include "platform/linux/x11/input/TextTyper.h"
#include "platform/linux/x11/input/XKeyboard.h"
#include "platform/linux/x11/server/Connection.h"

namespace vesk::x11::input {

/// Posts events by the XTest extension.
///
/// X has no flags in an event: what an event says of the modifiers is made true on the server
/// before it is posted, with keys that this object presses and lets go. Keys and buttons that
/// somebody else holds are neither pressed nor let go.
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
  static constexpr std::array modifiers{eventFlag::shift, eventFlag::control, eventFlag::alternate,
                                        eventFlag::command};

  /// The keys that make one modifier true.
  struct ModifierKeys {
    std::set<xcb_keycode_t> held;
    std::optional<xcb_keycode_t> preferred;  ///< the one that the viewer itself pressed
  };

  void letGo();
  void takeBackLentKeys();

  void pressButton(MouseButton button);
  void releaseButton(MouseButton button);
  std::uint8_t physicalButton(std::uint8_t button) const;
  bool othersHoldButton(std::uint8_t button) const;

  void pressKey(const KeyboardEvent& event);
  void releaseKey(KeyCode key);
  void changeFlags(const KeyboardEvent& event);
  void type(const std::u16string& run);

  void makeTrue(EventFlags flags);
  void releaseUnless(EventFlags flags);
  void pressModifier(std::size_t index);
  void makeCapsLockTrue(bool locked);
  void strikeWithLocks(xcb_keycode_t keycode, XModifiers affected, XModifiers values);

  bool press(xcb_keycode_t keycode);
  void release(xcb_keycode_t keycode);
  bool othersHold(xcb_keycode_t keycode) const;
  void flush() const { xcb_flush(connection_.get()); }

  InputGate& gate_;
  /// Against the timer that takes lent keycodes back, and whoever closes the gate.
  std::mutex mutex_;
  server::Connection connection_;
  XKeyboard keyboard_{connection_};
  Held held_;
  HeldRecord record_{connection_};
  TextTyper typer_{connection_, gate_, keyboard_, held_, record_};
  std::map<KeyCode, xcb_keycode_t> keys_;
  std::map<MouseButton, std::uint8_t> buttons_;
  std::array<ModifierKeys, modifiers.size()> modifierKeys_;
  loop::IdleTimer afterText_;
};

}  // namespace vesk::x11::input
