#include "platform/linux/wayland/overlay/LayerOverlays.h"

#include <algorithm>
#include <iterator>

#include "platform/linux/wayland/overlay/LayerOverlay.h"

namespace vesk::wayland::overlay {
namespace {

Screen screenOf(const server::Output& output) { return {output.id, output.area}; }

}  // namespace

/// Knows the outputs as they are; as they were, where the compositor is held up.
LayerShell& LayerOverlays::shell() {
  const bool isLost = !shell_->learnOutputs() && !*shell_;
  if (isLost && stack_.expired()) shell_ = std::make_unique<LayerShell>();
  return *shell_;
}

std::vector<Screen> LayerOverlays::screens() {
  std::vector<Screen> found;
  if (auto& present = shell(); present) {
    std::ranges::transform(present.outputs().current(), std::back_inserter(found), screenOf);
  }
  return found;
}

std::optional<Screen> LayerOverlays::mainScreen() {
  auto& present = shell();
  const auto main = present ? present.outputs().main() : std::nullopt;
  return main ? std::optional(screenOf(*main)) : std::nullopt;
}

std::unique_ptr<Overlay> LayerOverlays::makeOverlay(const OverlayAppearance& appearance) {
  auto stack = stack_.lock();
  if (stack == nullptr) {
    stack = std::make_shared<LayerStack>(shell(), ownSurfaces_);
    stack_ = stack;
  }
  return std::make_unique<LayerOverlay>(std::move(stack), appearance);
}

}  // namespace vesk::wayland::overlay
