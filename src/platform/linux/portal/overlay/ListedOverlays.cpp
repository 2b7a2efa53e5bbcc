#include "platform/linux/portal/overlay/ListedOverlays.h"

#include <algorithm>
#include <cmath>
#include <string>
#include <utility>

#include "platform/isOn.h"

namespace vesk::portal::overlay {
namespace {

using wayland::beneath::OwnSurfaces;
using wayland::beneath::PixelRect;

PixelRect pixelsOf(double left, double top, double right, double bottom) {
  const auto x = static_cast<std::int32_t>(std::floor(left));
  const auto y = static_cast<std::int32_t>(std::floor(top));
  return {x, y, static_cast<std::int32_t>(std::ceil(right)) - x,
          static_cast<std::int32_t>(std::ceil(bottom)) - y};
}

/// Whether the two are the same place. The points that windows are placed in are not those of the
/// display: each window system has a scale of its own, and one for all its screens.
bool isSamePlace(const Rect& screen, const Rect& display) {
  const double scale = display.width / screen.width;
  const auto isNear = [scale](double ofScreen, double ofDisplay) {
    return std::abs(ofScreen * scale - ofDisplay) <= 1;
  };
  return isNear(screen.origin.x, display.origin.x) && isNear(screen.origin.y, display.origin.y) &&
         isNear(screen.height, display.height);
}

/// What a window covers of a screen, in its pixels: all of its frame, or the border along it.
std::vector<PixelRect> coveredBy(const OverlayAppearance& appearance, const Rect& screen,
                                 double scale) {
  const double left = (appearance.frame.origin.x - screen.origin.x) * scale;
  const double top = (appearance.frame.origin.y - screen.origin.y) * scale;
  const double right = left + appearance.frame.width * scale;
  const double bottom = top + appearance.frame.height * scale;
  if (!appearance.border || appearance.background) return {pixelsOf(left, top, right, bottom)};
  const double width = appearance.border->width * scale;
  return {pixelsOf(left, top, right, top + width), pixelsOf(left, bottom - width, right, bottom),
          pixelsOf(left, top + width, left + width, bottom - width),
          pixelsOf(right - width, top + width, right, bottom - width)};
}

class ListedOverlay final : public Overlay {
 public:
  ListedOverlay(std::unique_ptr<Overlay> overlay, DisplayId display, std::vector<PixelRect> areas,
                OwnSurfaces& ownSurfaces)
      : overlay_(std::move(overlay)),
        display_(display),
        areas_(std::move(areas)),
        ownSurfaces_(ownSurfaces) {}
  ~ListedOverlay() override {
    const OwnSurfaces::Change change(ownSurfaces_);
    overlay_.reset();
    remove();
  }
  ListedOverlay(const ListedOverlay&) = delete;
  ListedOverlay& operator=(const ListedOverlay&) = delete;

  void orderFrontRegardless() override {
    if (!numbers_.empty()) return overlay_->orderFrontRegardless();
    const OwnSurfaces::Change change(ownSurfaces_);
    overlay_->orderFrontRegardless();
    for (const auto& area : areas_) numbers_.push_back(ownSurfaces_.add({display_, area, nullptr}));
  }
  void orderOut() override {
    const OwnSurfaces::Change change(ownSurfaces_);
    overlay_->orderOut();
    remove();
  }
  void setLabel(const std::string& text) override { overlay_->setLabel(text); }

 private:
  void remove() {
    for (const auto number : std::exchange(numbers_, {})) ownSurfaces_.remove(number);
  }

  std::unique_ptr<Overlay> overlay_;
  DisplayId display_;
  std::vector<PixelRect> areas_;
  OwnSurfaces& ownSurfaces_;
  std::vector<OwnSurfaces::Number> numbers_;
};

}  // namespace

/// The other window system's numbers say nothing here.
std::vector<Screen> ListedOverlays::screens() {
  auto all = overlays_->screens();
  const auto display = displays_.mainDisplay();
  const Rect bounds = displays_.bounds(display);
  for (auto& screen : all) {
    const bool isIt = isSamePlace(screen.frame, bounds);
    screen.screenNumber = isIt ? std::optional(display) : std::nullopt;
  }
  return all;
}

std::unique_ptr<Overlay> ListedOverlays::makeOverlay(const OverlayAppearance& appearance) {
  const auto display = displays_.mainDisplay();
  const auto all = overlays_->screens();
  const auto found = std::ranges::find_if(
      all, [&](const Screen& screen) { return isOn(screen.frame, appearance.frame); });
  const auto screen = found != all.end() ? *found : mainScreen().value_or(Screen());
  const auto panel = displays_.modePixels(display);
  const bool isKnown = panel && screen.frame.width > 0;
  const double scale = isKnown ? static_cast<double>(panel->width) / screen.frame.width : 1;
  return std::make_unique<ListedOverlay>(overlays_->makeOverlay(appearance), display,
                                         coveredBy(appearance, screen.frame, scale), ownSurfaces_);
}

}  // namespace vesk::portal::overlay
