#include "platform/linux/portal/input/PortalPointer.h"

#include <linux/input-event-codes.h>

#include <algorithm>
#include <cstdlib>

namespace vesk::portal::input {
namespace {

using session::Stroke;

Stroke strokeOf(MouseButton button, bool isDown) {
  std::int32_t code = BTN_LEFT;
  if (button == MouseButton::right) code = BTN_RIGHT;
  if (button == MouseButton::center) code = BTN_MIDDLE;
  return {.kind = Stroke::Kind::button, .code = code, .isDown = isDown};
}

/// The far edges belong to the neighbours.
double inside(double coordinate, double length) {
  constexpr double partsPerPoint = 256;
  return std::clamp(coordinate, 0.0, std::max(0.0, length - 1 / partsPerPoint));
}

}  // namespace

std::optional<Point> PortalPointer::move(Point point) {
  const auto area = strokes_.area();
  if (!area) return std::nullopt;
  const Point place{inside(point.x - area->origin.x, area->width),
                    inside(point.y - area->origin.y, area->height)};
  strokes_.push({.kind = Stroke::Kind::motion, .place = place});
  return Point{place.x + area->origin.x, place.y + area->origin.y};
}

void PortalPointer::press(MouseButton button) {
  // A program sees no second press of a button that is down.
  release(button);
  strokes_.push(strokeOf(button, /*isDown=*/true));
}

void PortalPointer::release(MouseButton button) {
  strokes_.push(strokeOf(button, /*isDown=*/false));
}

void PortalPointer::scroll(int lines) {
  constexpr int linesPerNotch = 3;
  if (lines == 0) return;
  const int notches = std::max(1, std::abs(lines) / linesPerNotch);
  for (int i = 0; i < notches; ++i)
    strokes_.push({.kind = Stroke::Kind::wheel, .code = lines > 0 ? -1 : 1});
}

}  // namespace vesk::portal::input
