#include "platform/macos/MacEventPoster.h"

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

bool isRelease(EventType type) {
  return type == EventType::leftMouseUp || type == EventType::rightMouseUp ||
         type == EventType::otherMouseUp;
}

}  // namespace

MacEventPoster::MacEventPoster(const InputGate& gate)
    : gate_(gate), source_(adopt(CGEventSourceCreate(kCGEventSourceStateHIDSystemState))) {}

void MacEventPoster::post(const MouseEvent& event) {
  if (!gate_.isOpen() && !isRelease(event.type)) return;
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
  if (!gate_.isOpen() && event.type == EventType::keyDown) return;
  const auto made = adopt(CGEventCreateKeyboardEvent(source_.get(), event.keyCode, event.down));
  if (!made) return;
  if (event.type == EventType::flagsChanged) {
    CGEventSetType(made.get(), kCGEventFlagsChanged);
    setFlags(made, allowedFlags(event));
  } else {
    setFlags(made, event.flags);
  }
  if (event.unicode) {
    const std::vector<UniChar> units(event.unicode->begin(), event.unicode->end());
    CGEventKeyboardSetUnicodeString(made.get(), units.size(), units.data());
  }
  postAsHardware(made);
}

/// With the gate closed modifiers can only be let go.
EventFlags MacEventPoster::allowedFlags(const KeyboardEvent& event) {
  const EventFlags wanted = event.flags.value_or(0);
  postedFlags_ = gate_.isOpen() ? wanted : wanted & postedFlags_;
  return postedFlags_;
}

void MacEventPoster::post(const ScrollEvent& event) {
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
