#pragma once

#include <optional>
#include <set>
#include <string_view>

#include "input/ClickCount.h"
#include "input/MouseButtons.h"
#include "link/Frame.h"
#include "link/Message.h"
#include "platform/Clock.h"
#include "platform/Displays.h"
#include "platform/Events.h"

namespace vesk {

/// Turns the viewer's input messages into events, and remembers what the viewer holds so that all
/// of it can be let go.
///
/// Thread: the input queue only; no locks. Owns: nothing; the poster, displays and clock outlive
/// it. Fails: silently; a message that makes no sense changes nothing. Destroying it posts nothing.
class InputInjector {
 public:
  InputInjector(EventPoster& poster, Displays& displays, Clock& clock);

  /// Decodes one input message, a JSON object, and injects it.
  void handle(ByteView data);

  /// Lets go of every button, key and modifier that the viewer holds.
  void releaseAll();

 private:
  void mouse(const Message& message);
  void move(Point target);
  void press(Point target, std::int64_t button);
  void release(Point target, std::int64_t button);
  void wheel(std::int64_t direction);
  void key(const Message& message);
  void ordinaryKey(KeyCode key, bool down);
  void modifierKey(KeyCode key, EventFlags flag, bool down);
  void text(std::string_view utf8);

  /// Believes what the viewer says about the modifiers that it holds.
  void reconcile(const Message& message);

  Point targetOf(const Message& message);
  void postButton(ButtonAction action, Point target, std::int64_t button);
  void postFlags();

  EventPoster& poster_;
  Displays& displays_;
  Clock& clock_;
  EventFlags flags_ = 0;
  std::set<KeyCode> heldKeys_;
  HeldButtons heldButtons_;
  std::optional<ButtonPress> lastDown_;
};

}  // namespace vesk
