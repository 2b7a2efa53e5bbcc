#pragma once

#include <vector>

#include "platform/Alerts.h"
#include "platform/InputGate.h"
#include "platform/linux/x11/beneath/OwnWindows.h"

class QDialog;

namespace vesk::alert {

/// Alerts as Qt dialogs in the look of the desktop. Thread: main.
class QtAlerts final : public Alerts {
 public:
  /// `ownWindows` learns of every alert in sight, and `inputGate` is shut while one is asked. Both
  /// outlive this object.
  QtAlerts(x11::beneath::OwnWindows& ownWindows, InputGate& inputGate)
      : ownWindows_(ownWindows), inputGate_(inputGate) {}

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
  x11::beneath::OwnWindows& ownWindows_;
  InputGate& inputGate_;
  std::vector<QDialog*> modal_;  ///< those whose loops run, the innermost last
};

}  // namespace vesk::alert
