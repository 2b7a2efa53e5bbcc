#pragma once

#include "platform/Overlays.h"

namespace vesk::mac {

/// The screens and the windows above everything on them. Thread: main.
class MacOverlays final : public Overlays {
 public:
  std::vector<Screen> screens() override;
  std::optional<Screen> mainScreen() override;
  std::unique_ptr<Overlay> makeOverlay(const OverlayAppearance& appearance) override;
};

}  // namespace vesk::mac
