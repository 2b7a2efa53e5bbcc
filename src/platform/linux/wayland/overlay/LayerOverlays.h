#pragma once

#include <memory>

#include "platform/Overlays.h"
#include "platform/linux/wayland/beneath/OwnSurfaces.h"
#include "platform/linux/wayland/overlay/LayerShell.h"
#include "platform/linux/wayland/overlay/LayerStack.h"

namespace vesk::wayland::overlay {

/// Overlays in the topmost layer of a compositor's. Nothing is asked of it while no overlay exists,
/// other than which outputs there are. Thread: main, with an application object. Owns: its
/// connection, from the start, so that a session that has taken the last descriptor still shows its
/// banner.
class LayerOverlays final : public Overlays {
 public:
  /// `ownSurfaces` learns of every surface and outlives this object.
  explicit LayerOverlays(beneath::OwnSurfaces& ownSurfaces) : ownSurfaces_(ownSurfaces) {}

  std::vector<Screen> screens() override;
  std::optional<Screen> mainScreen() override;
  std::unique_ptr<Overlay> makeOverlay(const OverlayAppearance& appearance) override;

 private:
  beneath::OwnSurfaces& ownSurfaces_;
  LayerShell shell_;
  std::weak_ptr<LayerStack> stack_;
};

}  // namespace vesk::wayland::overlay
