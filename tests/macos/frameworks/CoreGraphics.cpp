#include <cstdint>
#include <memory>

#include "macos/frameworks/Frameworks.h"

namespace {

namespace mac = vesk::fakes::mac;

struct Mode final : mac::Object {};

mac::EventFields& fieldsOf(CGEventRef event) {
  return reinterpret_cast<mac::Event*>(event)->fields;
}

/// Null when the system will not make events.
CGEventRef made(CGEventSourceRef source, mac::EventFields fields) {
  if (mac::system().refusesEvents) return nullptr;
  auto event = std::make_unique<mac::Event>();
  event->fields = std::move(fields);
  event->fields.hasSource = source != nullptr;
  return mac::as<CGEventRef>(*event.release());
}

}  // namespace

CGDirectDisplayID CGMainDisplayID() { return 7; }
CGRect CGDisplayBounds(CGDirectDisplayID display) {
  return display == CGMainDisplayID() ? mac::system().bounds : CGRect{};
}
std::size_t CGDisplayPixelsWide(CGDirectDisplayID) { return mac::system().pixelsWide; }
std::size_t CGDisplayPixelsHigh(CGDirectDisplayID) { return mac::system().pixelsHigh; }
CGDisplayModeRef CGDisplayCopyDisplayMode(CGDirectDisplayID) {
  if (!mac::system().mode) return nullptr;
  return mac::as<CGDisplayModeRef>(*std::make_unique<Mode>().release());
}
std::size_t CGDisplayModeGetPixelWidth(CGDisplayModeRef) { return mac::system().mode->first; }
std::size_t CGDisplayModeGetPixelHeight(CGDisplayModeRef) { return mac::system().mode->second; }

CGEventSourceRef CGEventSourceCreate(CGEventSourceStateID state) {
  ++mac::system().sources;
  auto source = std::make_unique<mac::EventSource>();
  source->state = state;
  return mac::as<CGEventSourceRef>(*source.release());
}

CGEventRef CGEventCreate(CGEventSourceRef source) {
  return made(source, {.location = mac::system().pointer});
}
CGEventRef CGEventCreateMouseEvent(CGEventSourceRef source, CGEventType type, CGPoint location,
                                   CGMouseButton button) {
  return made(source, {.type = type, .location = location, .button = button});
}
CGEventRef CGEventCreateKeyboardEvent(CGEventSourceRef source, CGKeyCode key, bool down) {
  constexpr std::uint32_t keyDown = 10;
  constexpr std::uint32_t keyUp = 11;
  return made(source,
              {.type = static_cast<CGEventType>(down ? keyDown : keyUp), .key = key, .down = down});
}
CGEventRef CGEventCreateScrollWheelEvent2(CGEventSourceRef source, CGScrollEventUnit unit,
                                          std::uint32_t wheels, std::int32_t wheel1,
                                          std::int32_t wheel2, std::int32_t wheel3) {
  if (unit != kCGScrollEventUnitLine || wheels != 1 || wheel2 != 0 || wheel3 != 0) return nullptr;
  return made(source, {.lines = wheel1});
}

CGPoint CGEventGetLocation(CGEventRef event) { return fieldsOf(event).location; }
void CGEventSetType(CGEventRef event, CGEventType type) { fieldsOf(event).type = type; }
void CGEventSetFlags(CGEventRef event, CGEventFlags flags) { fieldsOf(event).flags = flags; }
void CGEventSetIntegerValueField(CGEventRef event, CGEventField field, std::int64_t value) {
  fieldsOf(event).fields[field] = value;
}
void CGEventKeyboardSetUnicodeString(CGEventRef event, UniCharCount length, const UniChar* text) {
  fieldsOf(event).text.assign(text, text + length);
}
void CGEventPost(CGEventTapLocation tap, CGEventRef event) {
  const std::lock_guard lock(mac::postedMutex);
  mac::system().taps.push_back(tap);
  mac::system().posted.push_back(fieldsOf(event));
}
