#include "platform/macos/MacEventPoster.h"

#include <utility>
#include <vector>

namespace vesk::mac {
namespace {

using EventRef = Retained<CGEventRef>;

void postAsHardware(const EventRef& event) { CGEventPost(kCGHIDEventTap, event.get()); }

void setField(const EventRef& event, CGEventField field, std::optional<std::int64_t> value) {
  if (value) CGEventSetIntegerValueField(event.get(), field, *value);
}

void setFlags(const EventRef& event, std::optional<EventFlags> flags) {
  if (flags) CGEventSetFlags(event.get(), static_cast<CGEventFlags>(*flags));
}

EventType releaseOf(MouseButton button) {
  if (button == MouseButton::right) return EventType::rightMouseUp;
  return button == MouseButton::center ? EventType::otherMouseUp : EventType::leftMouseUp;
}

}  // namespace

MacEventPoster::MacEventPoster(InputGate& gate)
    : gate_(gate), source_(adopt(CGEventSourceCreate(kCGEventSourceStateHIDSystemState))) {
  // captures: the destructor takes it back, and whoever closes the gate is of the same owner.
  gate_.onClose = [this] { letGo(); };
}

MacEventPoster::~MacEventPoster() { gate_.onClose = nullptr; }

void MacEventPoster::post(const MouseEvent& event) {
  const std::lock_guard lock(mutex_);
  if (mayPost(event)) create(event);
}

bool MacEventPoster::mayPost(const MouseEvent& event) {
  if (isMouseRelease(event.type)) {
    const bool isHeld = buttons_.erase(event.button) != 0;
    const bool wasLetGo = buttonsLetGo_.erase(event.button) != 0;
    return isHeld || (!wasLetGo && gate_.isOpen());
  }
  if (!gate_.isOpen()) return false;
  if (isMousePress(event.type)) {
    buttons_[event.button] = event;
    buttonsLetGo_.erase(event.button);
  }
  return true;
}

void MacEventPoster::create(const MouseEvent& event) {
  const auto made = adopt(CGEventCreateMouseEvent(
      source_.get(), static_cast<CGEventType>(event.type),
      CGPointMake(event.point.x, event.point.y), static_cast<CGMouseButton>(event.button)));
  if (!made) return;
  setFlags(made, event.flags);
  setField(made, kCGMouseEventClickState, event.clickState);
  setField(made, kCGMouseEventButtonNumber, event.buttonNumber);
  postAsHardware(made);
}

void MacEventPoster::post(const KeyboardEvent& event) {
  const std::lock_guard lock(mutex_);
  if (event.type == EventType::flagsChanged) {
    postFlags(event);
  } else if (mayPost(event)) {
    create(event);
  }
}

bool MacEventPoster::mayPost(const KeyboardEvent& event) {
  if (!event.down) {
    const bool isHeld = keys_.erase(event.keyCode) != 0;
    const bool wasLetGo = keysLetGo_.erase(event.keyCode) != 0;
    return isHeld || (!wasLetGo && gate_.isOpen());
  }
  if (!gate_.isOpen()) return false;
  keys_[event.keyCode] = event;
  keysLetGo_.erase(event.keyCode);
  return true;
}

/// With the gate shut modifiers can only be let go.
void MacEventPoster::postFlags(KeyboardEvent event) {
  const EventFlags wanted = event.flags.value_or(0);
  const bool isOpen = gate_.isOpen();
  const EventFlags allowed = isOpen ? wanted : wanted & flags_;
  if (!isOpen && allowed == flags_) return;
  flags_ = allowed;
  event.flags = allowed;
  create(event);
}

void MacEventPoster::create(const KeyboardEvent& event) {
  const auto made = adopt(CGEventCreateKeyboardEvent(source_.get(), event.keyCode, event.down));
  if (!made) return;
  if (event.type == EventType::flagsChanged) CGEventSetType(made.get(), kCGEventFlagsChanged);
  setFlags(made, event.flags);
  if (event.unicode) {
    const std::vector<UniChar> units(event.unicode->begin(), event.unicode->end());
    CGEventKeyboardSetUnicodeString(made.get(), units.size(), units.data());
  }
  postAsHardware(made);
}

void MacEventPoster::letGo() {
  constexpr KeyCode standIn = 0x38;  // the flags as a whole are told, whichever key is named
  const std::lock_guard lock(mutex_);
  const Point place = buttons_.empty() ? Point{} : pointerLocation().value_or(Point{});
  for (const auto& [button, press] : std::exchange(buttons_, {})) {
    create(MouseEvent{.type = releaseOf(button),
                      .point = place,
                      .button = button,
                      .buttonNumber = press.buttonNumber});
    buttonsLetGo_.insert(button);
  }
  for (auto& [key, press] : std::exchange(keys_, {})) {
    KeyboardEvent release{.keyCode = key, .down = false, .type = EventType::keyUp};
    release.unicode = press.unicode;
    create(release);
    keysLetGo_.insert(key);
  }
  if (std::exchange(flags_, 0) != 0)
    create(KeyboardEvent{.keyCode = standIn, .type = EventType::flagsChanged, .flags = 0});
}

void MacEventPoster::post(const ScrollEvent& event) {
  const std::lock_guard lock(mutex_);
  if (!gate_.isOpen()) return;
  constexpr std::uint32_t wheels = 1;
  const auto made = adopt(CGEventCreateScrollWheelEvent2(source_.get(), kCGScrollEventUnitLine,
                                                         wheels, event.lines, 0, 0));
  if (made) postAsHardware(made);
}

std::optional<Point> MacEventPoster::pointerLocation() {
  const auto event = adopt(CGEventCreate(nullptr));
  if (!event) return std::nullopt;
  const CGPoint location = CGEventGetLocation(event.get());
  return Point{location.x, location.y};
}

}  // namespace vesk::mac
