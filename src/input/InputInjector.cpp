#include "input/InputInjector.h"

#include <algorithm>
#include <string>
#include <utility>

#include "input/KeyMap.h"
#include "input/ModifierMask.h"
#include "input/TextRuns.h"
#include "link/Log.h"

namespace vesk {

InputInjector::InputInjector(EventPoster& poster, Displays& displays, Clock& clock)
    : poster_(poster), displays_(displays), clock_(clock) {}

void InputInjector::handle(ByteView data) {
  const auto message = Message::parse(data);
  if (!message) return;
  const auto type = message->string("t");
  if (type == "m") mouse(*message);
  if (type == "k") key(*message);
  if (type == "u") text(message->string("s").value_or(""));
}

void InputInjector::mouse(const Message& message) {
  const std::string event = message.string("e").value_or("");
  const Point target = targetOf(message);
  reconcile(message);
  if (event == "move") move(target);
  if (event == "down") press(target, message.integer("b").value_or(0));
  if (event == "up") release(target, message.integer("b").value_or(0));
  if (event == "wheel") wheel(message.integer("d").value_or(0));
}

/// The bounds are asked for with every message: the person may change the displays at any time.
Point InputInjector::targetOf(const Message& message) {
  const Rect bounds = displays_.bounds(displays_.mainDisplay());
  const double x = std::clamp(message.number("x").value_or(0), 0.0, 1.0);
  const double y = std::clamp(message.number("y").value_or(0), 0.0, 1.0);
  return {bounds.origin.x + x * bounds.width, bounds.origin.y + y * bounds.height};
}

void InputInjector::move(Point target) {
  const ButtonAction action = moveWith(heldButtons_);
  poster_.post(
      MouseEvent{.type = action.type, .point = target, .button = action.button, .flags = flags_});
}

void InputInjector::press(Point target, std::int64_t button) {
  const HostTime now = clock_.hostTime();
  const auto count = lastDown_ ? clickCount(*lastDown_, now, target, button) : 1;
  lastDown_ = ButtonPress{.time = now, .point = target, .button = button, .count = count};
  heldButtons_.insert(button);
  postButton(pressOf(button), target, button);
}

/// A release belongs to the latest press, whichever button that was.
void InputInjector::release(Point target, std::int64_t button) {
  heldButtons_.erase(button);
  postButton(releaseOf(button), target, button);
}

void InputInjector::postButton(ButtonAction action, Point target, std::int64_t button) {
  MouseEvent event{.type = action.type, .point = target, .button = action.button, .flags = flags_};
  event.clickState = lastDown_ ? lastDown_->count : 1;
  if (button == middleButton) event.buttonNumber = 2;
  poster_.post(event);
}

/// One message is one notch, however far the viewer's wheel says that it went.
void InputInjector::wheel(std::int64_t direction) {
  constexpr std::int32_t linesPerNotch = 3;
  if (direction == 0) return;
  poster_.post(ScrollEvent{.lines = direction < 0 ? -linesPerNotch : linesPerNotch});
}

void InputInjector::key(const Message& message) {
  const std::int64_t code = message.integer("c").value_or(0);
  const bool down = message.string("e") == "down";
  const bool extended = message.boolean("x").value_or(false);
  const auto key = KeyMap::macKey(code, extended);
  if (!key) {
    Log::info("No Mac key for virtual key " + std::to_string(code) + ".");
    return;
  }
  // The viewer tells the modifiers as they are after the message's own key: a modifier is applied
  // before the comparison, while an ordinary key must not be typed with what was let go.
  if (const auto flag = KeyMap::modifierFlag(*key)) {
    modifierKey(*key, *flag, down);
    reconcile(message);
  } else {
    reconcile(message);
    ordinaryKey(*key, down);
  }
}

void InputInjector::ordinaryKey(KeyCode key, bool down) {
  if (down) {
    heldKeys_.insert(key);
  } else {
    heldKeys_.erase(key);
  }
  poster_.post(KeyboardEvent{.keyCode = key,
                             .down = down,
                             .type = down ? EventType::keyDown : EventType::keyUp,
                             .flags = flags_});
}

void InputInjector::modifierKey(KeyCode key, EventFlags flag, bool down) {
  if (down) {
    flags_ |= flag;
    heldKeys_.insert(key);
  } else {
    flags_ &= ~flag;
    heldKeys_.erase(key);
  }
  poster_.post(KeyboardEvent{
      .keyCode = key, .down = down, .type = EventType::flagsChanged, .flags = flags_});
}

void InputInjector::text(std::string_view utf8) {
  for (auto& run : textRuns(utf8)) {
    KeyboardEvent event{.keyCode = 0, .down = true, .type = EventType::keyDown, .flags = 0};
    event.unicode = std::move(run);
    poster_.post(event);
    event.down = false;
    event.type = EventType::keyUp;
    poster_.post(event);
  }
}

void InputInjector::reconcile(const Message& message) {
  const auto mask = message.integer("m");
  if (!mask) return;
  const EventFlags wanted = wantedFlags(*mask, flags_);
  if (wanted == flags_) return;
  if (const EventFlags released = flags_ & ~wanted; released != 0) {
    Log::info("Releasing modifiers the viewer is no longer holding (" + std::to_string(released) +
              ").");
  }
  flags_ = wanted;
  std::erase_if(heldKeys_, [this](KeyCode key) {
    const auto flag = KeyMap::modifierFlag(key);
    return flag && (flags_ & *flag) == 0;
  });
  postFlags();
}

/// Tells of the modifiers as a whole; the key named in it is a stand-in and was not touched.
void InputInjector::postFlags() {
  constexpr KeyCode standIn = 0x38;
  poster_.post(KeyboardEvent{
      .keyCode = standIn, .down = false, .type = EventType::flagsChanged, .flags = flags_});
}

/// These events carry no flags of their own: what is let go here must not depend on what else is
/// still believed to be down.
void InputInjector::releaseAll() {
  const Point location =
      heldButtons_.empty() ? Point{} : poster_.pointerLocation().value_or(Point{});
  for (const auto button : std::exchange(heldButtons_, {})) {
    const ButtonAction action = releaseOf(button);
    poster_.post(MouseEvent{.type = action.type, .point = location, .button = action.button});
  }
  for (const auto key : std::exchange(heldKeys_, {})) {
    if (KeyMap::modifierFlag(key)) continue;
    poster_.post(KeyboardEvent{.keyCode = key, .down = false, .type = EventType::keyUp});
  }
  if (std::exchange(flags_, 0) != 0) postFlags();
}

}  // namespace vesk
