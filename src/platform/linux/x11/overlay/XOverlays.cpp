#include "platform/linux/x11/overlay/XOverlays.h"

#include <QGuiApplication>
#include <QScreen>
#include <algorithm>
#include <iterator>

#include "platform/linux/x11/overlay/XOverlay.h"
#include "platform/linux/x11/server/Randr.h"

namespace vesk::x11::overlay {
namespace {

double pixelsOfAPoint() {
  const QScreen* const screen = QGuiApplication::primaryScreen();
  return screen == nullptr ? 1 : screen->devicePixelRatio();
}

Rect inPoints(double x, double y, double width, double height) {
  const double scale = pixelsOfAPoint();
  return {{x / scale, y / scale}, width / scale, height / scale};
}

Screen screenOf(const server::Monitor& monitor) {
  return {monitor.output, inPoints(monitor.x, monitor.y, monitor.width, monitor.height)};
}

}  // namespace

std::vector<Screen> XOverlays::screens() {
  std::vector<Screen> found;
  std::ranges::transform(server::monitors(connection_), std::back_inserter(found), screenOf);
  return found;
}

std::optional<Screen> XOverlays::mainScreen() {
  if (!connection_) return std::nullopt;
  const auto all = server::monitors(connection_);
  const auto primary = std::ranges::find(all, true, &server::Monitor::primary);
  if (primary != all.end()) return screenOf(*primary);
  if (!all.empty()) return screenOf(all.front());
  // A server that tells of no monitors still has a screen.
  const auto& root = connection_.screen();
  return Screen{std::nullopt, inPoints(0, 0, root.width_in_pixels, root.height_in_pixels)};
}

std::unique_ptr<Overlay> XOverlays::makeOverlay(const OverlayAppearance& appearance) {
  auto stack = stack_.lock();
  if (stack == nullptr) {
    stack = std::make_shared<OverlayStack>(connection_);
    stack_ = stack;
  }
  return std::make_unique<XOverlay>(std::move(stack), ownWindows_, appearance, pixelsOfAPoint());
}

}  // namespace vesk::x11::overlay
