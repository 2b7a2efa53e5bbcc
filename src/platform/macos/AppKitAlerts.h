#pragma once

#include "platform/Alerts.h"
#include "platform/InputGate.h"

namespace vesk::mac {

/// The system's own alerts. Thread: main.
class AppKitAlerts final : public Alerts {
 public:
  /// `inputGate` is shut while an alert is asked. It outlives this object.
  explicit AppKitAlerts(InputGate& inputGate) : inputGate_(inputGate) {}

  void activateIgnoringOtherApps() override;
  std::unique_ptr<Alert> makeAlert() override;
  void abortModal() override;
  std::unique_ptr<ModalTimer> startModalTimer(std::chrono::nanoseconds delay,
                                              std::function<void()> handler) override;

 private:
  class AppKitAlert;

  int modal_ = 0;  ///< how many alerts' loops run
  InputGate& inputGate_;
};

}  // namespace vesk::mac
