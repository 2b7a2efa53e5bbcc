#pragma once

#include "platform/linux/alert/AlertStage.h"
#include "platform/linux/wayland/beneath/OwnSurfaces.h"
#include "platform/linux/wayland/overlay/LayerShell.h"

namespace vesk::wayland::alert {

/// Alerts above everything that a compositor shows. They have the keyboard to themselves for as
/// long as they are asked, and so are always in front.
///
/// Thread: main, with an application object whose windows are on no screen. Owns: its connection,
/// from the start, made anew where the compositor has ended it.
class WlAlertStage final : public vesk::alert::AlertStage {
 public:
  /// `ownSurfaces` learns of every alert in sight; it outlives this object.
  explicit WlAlertStage(beneath::OwnSurfaces& ownSurfaces) : ownSurfaces_(ownSurfaces) {}

  QSize room() const override;
  std::unique_ptr<Scene> set(vesk::alert::AlertDialog& dialog, bool comesToFront) override;

 private:
  beneath::OwnSurfaces& ownSurfaces_;
  mutable std::unique_ptr<overlay::LayerShell> shell_ = std::make_unique<overlay::LayerShell>();
};

}  // namespace vesk::wayland::alert
