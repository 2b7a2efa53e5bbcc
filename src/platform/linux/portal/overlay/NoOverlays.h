#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/Overlays.h"

namespace vesk::portal::overlay {

/// Shows nothing: for desktops that would swallow what is clicked through an overlay, or have none
/// above all windows. Thread: main.
class NoOverlays final : public Overlays {
 public:
  std::vector<Screen> screens() override { return {}; }
  std::optional<Screen> mainScreen() override { return std::nullopt; }
  std::unique_ptr<Overlay> makeOverlay(const OverlayAppearance& /*appearance*/) override {
    return std::make_unique<Nothing>();
  }

 private:
  class Nothing final : public Overlay {
    void orderFrontRegardless() override {}
    void orderOut() override {}
    void setLabel(const std::string& /*text*/) override {}
  };
};

}  // namespace vesk::portal::overlay
