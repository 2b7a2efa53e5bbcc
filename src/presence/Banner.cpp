#include "presence/Banner.h"

#include <algorithm>

#include "presence/BannerGeometry.h"
#include "presence/ViewerName.h"

namespace vesk {
namespace {

constexpr CollectionBehavior everywhere =
    collectionBehavior::canJoinAllSpaces | collectionBehavior::stationary |
    collectionBehavior::ignoresCycle | collectionBehavior::fullScreenAuxiliary;

Colour red(std::int64_t opacity) { return {0.8, 0.05, 0.05, static_cast<double>(opacity) / 100}; }

std::int64_t setting(const std::optional<Message>& banner, std::string_view key,
                     std::int64_t otherwise, std::int64_t highest) {
  const auto value = banner ? banner->integer(key) : std::nullopt;
  return value ? std::clamp<std::int64_t>(*value, 0, highest) : otherwise;
}

}  // namespace

Banner::Style::Style(const std::optional<Message>& banner)
    : stripOpacity(setting(banner, "strip", Style().stripOpacity, 100)),
      borderOpacity(setting(banner, "border", Style().borderOpacity, 100)),
      borderThickness(setting(banner, "thickness", Style().borderThickness, 40)) {}

void Banner::show(const std::string& viewer, const Style& style) {
  hide();
  const auto shown = screen();
  if (!shown) return;
  if (style.borderOpacity > 0 && style.borderThickness > 0) showBorder(shown->frame, style);
  if (style.stripOpacity > 0) showStrip(shown->frame, style);
  setViewer(viewer);
}

void Banner::hide() {
  if (strip_ != nullptr) strip_->orderOut();
  if (border_ != nullptr) border_->orderOut();
  strip_.reset();
  border_.reset();
}

void Banner::setViewer(const std::string& name) {
  if (strip_ == nullptr) return;
  strip_->setLabel(viewerNameForDisplay(name) + " is viewing this screen");
}

std::optional<Screen> Banner::screen() {
  const auto screens = overlays_.screens();
  const DisplayId mainDisplay = displays_.mainDisplay();
  const auto found = std::ranges::find(screens, mainDisplay, &Screen::screenNumber);
  return found == screens.end() ? overlays_.mainScreen() : *found;
}

void Banner::showBorder(const Rect& screen, const Style& style) {
  OverlayAppearance appearance;
  appearance.frame = screen;
  appearance.collectionBehavior = everywhere;
  appearance.border =
      OverlayBorder{red(style.borderOpacity), static_cast<double>(style.borderThickness)};
  border_ = overlays_.makeOverlay(appearance);
  border_->orderFrontRegardless();
}

void Banner::showStrip(const Rect& screen, const Style& style) {
  OverlayAppearance appearance;
  appearance.frame = stripFrame(screen);
  appearance.collectionBehavior = everywhere;
  appearance.background = red(style.stripOpacity);
  appearance.bottomCornerRadius = 6;
  appearance.label =
      OverlayLabel{stripLabelFrame(appearance.frame), /*fontSize=*/13, /*semibold=*/true};
  strip_ = overlays_.makeOverlay(appearance);
  strip_->orderFrontRegardless();
}

}  // namespace vesk
