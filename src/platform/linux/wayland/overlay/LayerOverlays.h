#pragma once

#include <memory>

#include "platform/Overlays.h"
#include "platform/linux/wayland/beneath/OwnSurfaces.h"
#include "platform/linux/wayland/overlay/LayerShell.h"
#include "platform/linux/wayland/overlay/LayerStack.h"

namespace vesk::wayland::overlay {

/// Overlays in the topmost layer of a compositor's. Nothing is asked of it while no overlay exists,
/// other than which outputs there are. Thread: main, with an application object. Owns: its
/// connection, from the start, and the descriptors that it takes, so that a session that has taken
/// the last one still shows its banner. A compositor ends a connection to which nobody has listened
/// while outputs changed hundreds of times: it is made anew then.
class LayerOverlays final : public Overlays {
 public:
  /// `ownSurfaces` learns of every surface and outlives this object.
  explicit LayerOverlays(beneath::OwnSurfaces& ownSurfaces) : ownSurfaces_(ownSurfaces) {}

  std::vector<Screen> screens() override;
  std::optional<Screen> mainScreen() override;
  std::unique_ptr<Overlay> makeOverlay(const OverlayAppearance& appearance) override;

 private:
  LayerShell& shell();

  beneath::OwnSurfaces& ownSurfaces_;
  std::unique_ptr<LayerShell> shell_ = std::make_unique<LayerShell>();
  std::weak_ptr<LayerStack> stack_;
};

}  // namespace vesk::wayland::overlay
