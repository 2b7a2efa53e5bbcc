#pragma once

#include <memory>
#include <utility>
#include <vector>

#include "platform/Alerts.h"
#include "platform/InputGate.h"
#include "platform/linux/alert/AlertStage.h"

class QDialog;

namespace vesk::alert {

/// Alerts as Qt dialogs in the look of the desktop. Thread: main.
class QtAlerts final : public Alerts {
 public:
  /// Alerts are shown on `stage`, and `inputGate` is shut while one is asked. It outlives this
  /// object.
  QtAlerts(std::unique_ptr<AlertStage> stage, InputGate& inputGate)
      : stage_(std::move(stage)), inputGate_(inputGate) {}

  void activateIgnoringOtherApps() override;
  std::unique_ptr<Alert> makeAlert() override;
  void abortModal() override;
  std::unique_ptr<ModalTimer> startModalTimer(std::chrono::nanoseconds delay,
                                              std::function<void()> handler) override;

 private:
  class QtAlert;

  /// Without a window there is nothing to bring to the front: the alerts made from then on take the
  /// focus as they come up.
  bool active_ = false;
  std::unique_ptr<AlertStage> stage_;
  InputGate& inputGate_;
  std::vector<QDialog*> modal_;  ///< those whose loops run, the innermost last
};

}  // namespace vesk::alert
