#include "platform/linux/portal/input/PortalKeyboard.h"

namespace vesk::portal::input {

using session::Stroke;
using wayland::input::Key;

namespace {

Stroke strokeOf(Key key, bool isDown) {
  return {.kind = Stroke::Kind::key, .code = static_cast<std::int32_t>(key), .isDown = isDown};
}

}  // namespace

bool PortalKeyboard::press(Key key) {
  if (held_.contains(key)) return true;
  if (!gate_.isOpen()) return false;
  held_.insert(key);
  strokes_.push(strokeOf(key, /*isDown=*/true));
  return true;
}

void PortalKeyboard::release(Key key) {
  if (held_.erase(key) > 0) strokes_.push(strokeOf(key, /*isDown=*/false));
}

void PortalKeyboard::releaseAll() {
  for (const auto key : std::set(held_)) release(key);
}

}  // namespace vesk::portal::input
