#include "input/MouseButtons.h"

namespace vesk {
namespace {

constexpr std::int64_t leftButton = 0;
constexpr std::int64_t rightButton = 2;

}  // namespace

ButtonAction pressOf(std::int64_t button) {
  if (button == middleButton) return {EventType::otherMouseDown, MouseButton::center};
  if (button == rightButton) return {EventType::rightMouseDown, MouseButton::right};
  return {EventType::leftMouseDown, MouseButton::left};
}

ButtonAction releaseOf(std::int64_t button) {
  if (button == middleButton) return {EventType::otherMouseUp, MouseButton::center};
  if (button == rightButton) return {EventType::rightMouseUp, MouseButton::right};
  return {EventType::leftMouseUp, MouseButton::left};
}

ButtonAction moveWith(const HeldButtons& held) {
  if (held.contains(leftButton)) return {EventType::leftMouseDragged, MouseButton::left};
  if (held.contains(rightButton)) return {EventType::rightMouseDragged, MouseButton::right};
  if (held.contains(middleButton)) return {EventType::otherMouseDragged, MouseButton::center};
  return {EventType::mouseMoved, MouseButton::left};
}

}  // namespace vesk
