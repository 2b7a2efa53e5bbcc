#include "platform/linux/wayland/overlay/LayerOverlays.h"

#include <algorithm>
#include <iterator>

#include "platform/linux/wayland/overlay/LayerOverlay.h"

namespace vesk::wayland::overlay {
namespace {

Screen screenOf(const server::Output& output) { return {output.id, output.area}; }

}  // namespace

std::vector<Screen> LayerOverlays::screens() {
  std::vector<Screen> found;
  if (shell_.learnOutputs()) {
    std::ranges::transform(shell_.outputs().current(), std::back_inserter(found), screenOf);
  }
  return found;
}

std::optional<Screen> LayerOverlays::mainScreen() {
  const auto main = shell_.learnOutputs() ? shell_.outputs().main() : std::nullopt;
  return main ? std::optional(screenOf(*main)) : std::nullopt;
}

std::unique_ptr<Overlay> LayerOverlays::makeOverlay(const OverlayAppearance& appearance) {
  auto stack = stack_.lock();
  if (stack == nullptr) {
    stack = std::make_shared<LayerStack>(shell_, ownSurfaces_);
    stack_ = stack;
  }
  return std::make_unique<LayerOverlay>(std::move(stack), appearance);
}

}  // namespace vesk::wayland::overlay
