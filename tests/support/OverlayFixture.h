#pragma once

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <functional>

#include "platform/linux/wayland/overlay/LayerOverlays.h"
#include "support/Patience.h"
#include "support/Sway.h"
#include "support/TestApplication.h"
#include "support/WlPicture.h"
#include "support/WlWindow.h"

namespace vesk::testing {

/// Strip and border on a private compositor of that kind.
template <typename Compositor>
class OverlayFixtureOn : public ::testing::Test {
 protected:
  static constexpr Colour red{0.8, 0.05, 0.05, 1};

  static OverlayAppearance strip(const Rect& screen, double opacity = 1) {
    OverlayAppearance appearance;
    appearance.frame = {{screen.origin.x + screen.width / 2 - 280, screen.origin.y}, 560, 26};
    appearance.background = Colour{red.red, red.green, red.blue, opacity};
    appearance.bottomCornerRadius = 6;
    appearance.label = OverlayLabel{{{8, 4}, 544, 18}, /*fontSize=*/13, /*semibold=*/true};
    return appearance;
  }

  static OverlayAppearance border(const Rect& screen, double opacity = 0.8, double width = 4) {
    OverlayAppearance appearance;
    appearance.frame = screen;
    appearance.border = OverlayBorder{{red.red, red.green, red.blue, opacity}, width};
    return appearance;
  }

  std::unique_ptr<Overlay> show(const OverlayAppearance& appearance) {
    auto overlay = overlays_.makeOverlay(appearance);
    overlay->setLabel("Ada is viewing this screen");
    overlay->orderFrontRegardless();
    return overlay;
  }

  /// Lets the overlays hear of what the compositor does meanwhile.
  static bool waitUntil(const std::function<bool()>& condition) {
    return testing::waitUntil([&] {
      QCoreApplication::processEvents();
      return condition();
    });
  }

  std::vector<wayland::beneath::OwnSurface> surfaces() const { return own_.shown().surfaces; }

  struct Entered : Compositor {
    Entered() { this->enter(); }
  };

  Entered compositor_;
  TestApplication application_;
  wayland::beneath::OwnSurfaces own_;
  wayland::overlay::LayerOverlays overlays_{own_};
};

class OverlayFixture : public OverlayFixtureOn<Sway> {
 protected:
  static constexpr Rect wholeScreen{{0, 0}, 1920, 1080};

  Sway& sway_ = compositor_;
};

}  // namespace vesk::testing
