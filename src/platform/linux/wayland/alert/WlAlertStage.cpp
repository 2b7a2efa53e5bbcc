#include "platform/linux/wayland/alert/WlAlertStage.h"

#include "platform/linux/wayland/alert/AlertScene.h"

namespace vesk::wayland::alert {

/// Of the main output, with something of what is beneath around it.
QSize WlAlertStage::room() const {
  constexpr QSize around(8, 8);
  constexpr QSize unseen(800, 600);
  if (!shell_->learnOutputs() && !*shell_) shell_ = std::make_unique<overlay::LayerShell>();
  const auto main = shell_->outputs().main();
  if (!main) return unseen - around;
  return QSize(static_cast<int>(main->area.width), static_cast<int>(main->area.height)) - around;
}

std::unique_ptr<vesk::alert::AlertStage::Scene> WlAlertStage::set(vesk::alert::AlertDialog& dialog,
                                                                  bool /*comesToFront*/) {
  return std::make_unique<AlertScene>(dialog, *shell_, ownSurfaces_);
}

}  // namespace vesk::wayland::alert
