#pragma once

#include <memory>
#include <optional>
#include <vector>

#include "platform/Displays.h"
#include "platform/Overlays.h"
#include "platform/linux/wayland/beneath/OwnSurfaces.h"

namespace vesk::portal::overlay {

/// Overlays of another window system that the compositor shows, listed while they are in sight so
/// that pictures are made without them. Where they lie is known, and not how they look in the end:
/// the compositor gives them a shadow.
///
/// Thread: main. Owns: the other overlays. Fails: as they do.
class ListedOverlays final : public Overlays {
 public:
  /// `displays` and `ownSurfaces` outlive the object and its overlays.
  ListedOverlays(std::unique_ptr<Overlays> overlays, Displays& displays,
                 wayland::beneath::OwnSurfaces& ownSurfaces)
      : overlays_(std::move(overlays)), displays_(displays), ownSurfaces_(ownSurfaces) {}

  /// Of these, the one in the place of the main display has its number, the others have none.
  std::vector<Screen> screens() override;
  std::optional<Screen> mainScreen() override { return overlays_->mainScreen(); }
  std::unique_ptr<Overlay> makeOverlay(const OverlayAppearance& appearance) override;

 private:
  std::unique_ptr<Overlays> overlays_;
  Displays& displays_;
  wayland::beneath::OwnSurfaces& ownSurfaces_;
};

}  // namespace vesk::portal::overlay
