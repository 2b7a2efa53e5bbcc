#pragma once

#include <QObject>
#include <QSocketNotifier>
#include <QTimer>
#include <optional>

#include "platform/linux/alert/AlertStage.h"
#include "platform/linux/wayland/alert/AlertInput.h"
#include "platform/linux/wayland/beneath/OwnSurfaces.h"
#include "platform/linux/wayland/overlay/LayerShell.h"
#include "platform/linux/wayland/overlay/LayerSurface.h"

namespace vesk::wayland::alert {

/// One alert as a surface in the middle of the main output, above everything there.
///
/// Qt takes the dialog for shown, but the person sees what is painted of it here, in as many pixels
/// as the output has. Where there is no output, it is shown as soon as there is one; where there is
/// no compositor any more, the answer is no.
///
/// Thread: main. Owns: the surface, listed among the own ones while it is in sight. What it is
/// given outlives it.
class AlertScene final : public QObject, public vesk::alert::AlertStage::Scene {
 public:
  AlertScene(vesk::alert::AlertDialog& dialog, overlay::LayerShell& shell,
             beneath::OwnSurfaces& ownSurfaces);
  ~AlertScene() override;

  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  void begin();
  void comeUp();
  void comeUpLate();
  void goAway();
  void paint();
  void listen();
  void giveUp();
  void followOutputs();

  vesk::alert::AlertDialog& dialog_;
  overlay::LayerShell& shell_;
  beneath::OwnSurfaces& ownSurfaces_;
  std::optional<server::Output> output_;  ///< that it is laid out for
  std::optional<QSocketNotifier> notifier_;
  QTimer laterPaint_;
  std::optional<overlay::LayerSurface> surface_;
  std::optional<AlertInput> input_;
};

}  // namespace vesk::wayland::alert
