#include "platform/linux/portal/input/PortalPointer.h"

#include <linux/input-event-codes.h>

#include <algorithm>
#include <cstdlib>

#include "platform/linux/portal/input/sharedArea.h"

namespace vesk::portal::input {
namespace {

using session::Stroke;

Stroke strokeOf(MouseButton button, bool isDown) {
  std::int32_t code = BTN_LEFT;
  if (button == MouseButton::right) code = BTN_RIGHT;
  if (button == MouseButton::center) code = BTN_MIDDLE;
  return {.kind = Stroke::Kind::button, .code = code, .isDown = isDown};
}

/// From lengths on what is pointed at to those on what is shared; exact where these are the same.
struct Scale {
  double pointed;
  double shared;
  bool isOne() const { return pointed == shared || pointed <= 0 || shared <= 0; }
  double to(double length) const { return isOne() ? length : length * shared / pointed; }
  double from(double length) const { return isOne() ? length : length * pointed / shared; }
};

/// The far edges belong to the neighbours.
double inside(double coordinate, double length) {
  constexpr double partsPerPoint = 256;
  return std::clamp(coordinate, 0.0, std::max(0.0, length - 1 / partsPerPoint));
}

}  // namespace

std::optional<Point> PortalPointer::move(Point point, const wayland::server::OutputList& outputs) {
  const auto told = strokes_.area();
  if (!told) return std::nullopt;
  const Rect area = sharedArea(*told, outputs.current());
  const auto main = outputs.main();
  const Rect pointed = main ? main->area : area;
  const auto along = Scale{pointed.width, area.width};
  const auto down = Scale{pointed.height, area.height};
  const Point place{inside(along.to(point.x - pointed.origin.x), area.width),
                    inside(down.to(point.y - pointed.origin.y), area.height)};
  strokes_.push({.kind = Stroke::Kind::motion, .place = place});
  return Point{along.from(place.x) + pointed.origin.x, down.from(place.y) + pointed.origin.y};
}

void PortalPointer::press(MouseButton button) {
  // A program sees no second press of a button that is down.
  release(button);
  strokes_.push(strokeOf(button, /*isDown=*/true));
}

void PortalPointer::release(MouseButton button) {
  strokes_.push(strokeOf(button, /*isDown=*/false));
}

void PortalPointer::scroll(int lines, int stepsPerNotch) {
  constexpr int linesPerNotch = 3;
  if (lines == 0) return;
  const int notches = std::max(1, std::abs(lines) / linesPerNotch);
  const int steps = lines > 0 ? -stepsPerNotch : stepsPerNotch;
  for (int i = 0; i < notches; ++i) strokes_.push({.kind = Stroke::Kind::wheel, .code = steps});
}

}  // namespace vesk::portal::input
