#include "platform/linux/portal/input/PortalPointer.h"

#include <linux/input-event-codes.h>

#include <algorithm>
#include <cstdlib>

#include "platform/linux/portal/input/sharedArea.h"
#include "platform/linux/wayland/server/outputAt.h"

namespace vesk::portal::input {
namespace {

using session::Stroke;
using wayland::server::Output;
using wayland::server::OutputList;

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

/// What is shared, in the points of the desktop, and in the units in which places on it are told.
struct Shared {
  Rect area;
  double across;
  double high;
};

Shared sharedOf(const Rect& told, std::optional<Output> shared, const OutputList& outputs,
                PortalPointer::Unit unit) {
  const auto all = outputs.current();
  if (!shared) shared = wayland::server::outputAt(told, all);
  const Rect area = shared ? shared->area : sharedArea(told, all);
  if (!shared || unit == PortalPointer::Unit::points) return {area, area.width, area.height};
  const PixelSize pixels = shared->pixels();
  return {area, static_cast<double>(pixels.width), static_cast<double>(pixels.height)};
}

}  // namespace

std::optional<Point> PortalPointer::move(Point point, const OutputList& outputs, Unit unit) {
  const auto told = strokes_.area();
  if (!told) return std::nullopt;
  const auto watched = outputs.find(watched_.current());
  const auto main = watched ? watched : outputs.main();
  const Rect pointed = main ? main->area : *told;
  const auto [area, across, high] = sharedOf(*told, watched, outputs, unit);
  const auto along = Scale{pointed.width, across};
  const auto down = Scale{pointed.height, high};
  const Point place{inside(along.to(point.x - pointed.origin.x), across),
                    inside(down.to(point.y - pointed.origin.y), high)};
  push(place, {inside(place.x, told->width), inside(place.y, told->height)},
       {area.width / across, area.height / high});
  return Point{along.from(place.x) + pointed.origin.x, down.from(place.y) + pointed.origin.y};
}

/// A portal refuses places beyond the size that it tells: as far as it lets, and on from there.
void PortalPointer::push(Point place, Point reached, Point unit) {
  strokes_.push({.kind = Stroke::Kind::motion, .place = reached});
  const Point rest{(place.x - reached.x) * unit.x, (place.y - reached.y) * unit.y};
  if (rest != Point{}) strokes_.push({.kind = Stroke::Kind::step, .place = rest});
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
