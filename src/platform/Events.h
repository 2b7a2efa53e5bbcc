#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include "platform/Geometry.h"

namespace vesk {

enum class EventType : std::uint32_t {
  leftMouseDown = 1,
  leftMouseUp = 2,
  rightMouseDown = 3,
  rightMouseUp = 4,
  mouseMoved = 5,
  leftMouseDragged = 6,
  rightMouseDragged = 7,
  keyDown = 10,
  keyUp = 11,
  flagsChanged = 12,
  scrollWheel = 22,
  otherMouseDown = 25,
  otherMouseUp = 26,
  otherMouseDragged = 27,
};

constexpr bool isMousePress(EventType type) {
  return type == EventType::leftMouseDown || type == EventType::rightMouseDown ||
         type == EventType::otherMouseDown;
}

constexpr bool isMouseRelease(EventType type) {
  return type == EventType::leftMouseUp || type == EventType::rightMouseUp ||
         type == EventType::otherMouseUp;
}

enum class MouseButton : std::uint32_t { left = 0, right = 1, center = 2 };

/// A mask of the modifiers that are down.
using EventFlags = std::uint64_t;

namespace eventFlag {
inline constexpr EventFlags alphaShift = 0x10000;
inline constexpr EventFlags shift = 0x20000;
inline constexpr EventFlags control = 0x40000;
inline constexpr EventFlags alternate = 0x80000;
inline constexpr EventFlags command = 0x100000;
}  // namespace eventFlag

/// A key by its position on the ANSI layout; the person's own layout decides the character.
using KeyCode = std::uint16_t;

struct MouseEvent {
  EventType type = EventType::mouseMoved;
  Point point;
  MouseButton button = MouseButton::left;
  std::optional<EventFlags> flags = std::nullopt;
  std::optional<std::int64_t> clickState = std::nullopt;
  std::optional<std::int64_t> buttonNumber = std::nullopt;
  bool operator==(const MouseEvent&) const = default;
};

/// `type` is keyDown or keyUp as `down` says, or flagsChanged. `unicode`, where present, is what
/// the key types instead of the layout's character; at most 20 code units.
struct KeyboardEvent {
  KeyCode keyCode = 0;
  bool down = false;
  EventType type = EventType::keyUp;
  std::optional<EventFlags> flags = std::nullopt;
  std::optional<std::u16string> unicode = std::nullopt;
  bool operator==(const KeyboardEvent&) const = default;
};

/// Whether everything that it is about is let go of by it.
inline bool isRelease(const KeyboardEvent& event) {
  return event.type == EventType::flagsChanged ? event.flags.value_or(0) == 0 : !event.down;
}

/// Lines of one wheel; positive scrolls towards the start of a document.
struct ScrollEvent {
  std::int32_t lines = 0;
  bool operator==(const ScrollEvent&) const = default;
};

/// Thread: one at a time, the input queue's. Owns: the event source.
/// Fails: in silence; an event that the system refuses is not posted.
/// Posts events as if they came from the person's own mouse and keyboard.
class EventPoster {
 public:
  virtual ~EventPoster() = default;

  /// Told at an end of input of how many of its characters the person's layout has not let be
  /// typed, where that is known and there were any. Set before the first event; called on any
  /// thread.
  std::function<void(std::size_t)> onLacking;

  virtual void post(const MouseEvent& event) = 0;
  virtual void post(const KeyboardEvent& event) = 0;
  virtual void post(const ScrollEvent& event) = 0;

  /// Where the pointer is, or nothing when the system does not tell.
  virtual std::optional<Point> pointerLocation() = 0;
};

}  // namespace vesk
