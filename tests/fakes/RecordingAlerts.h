#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "platform/Alerts.h"

namespace vesk::fakes {

/// Alerts without a window: every call is written down as one line, in order, and what the person
/// does is the test's to say. Thread: the test's.
class RecordingAlerts final : public Alerts {
 public:
  /// Runs inside each modal loop; what it returns ends the loop. Nothing: the person does nothing,
  /// and the loop ends by `abortModal` or, where nobody calls it, as a failure of the test.
  std::function<std::optional<ModalResponse>()> person = [] { return std::nullopt; };

  std::vector<std::string> calls;

  /// Alerts that exist at this moment.
  int alive = 0;

  /// Whether a timer is running, and how long it was set to.
  bool timerRuns() const { return handler_ != nullptr; }
  std::chrono::nanoseconds delay() const { return delay_; }

  /// Lets the timer's time pass; nothing happens when it was invalidated.
  void fireTimer();

  void activateIgnoringOtherApps() override { calls.emplace_back("activate"); }
  std::unique_ptr<Alert> makeAlert() override;
  void abortModal() override;
  std::unique_ptr<ModalTimer> startModalTimer(std::chrono::nanoseconds delay,
                                              std::function<void()> handler) override;

 private:
  class RecordingAlert;
  class RecordingTimer;

  ModalResponse runModal();

  std::chrono::nanoseconds delay_{0};
  std::function<void()> handler_;
  bool aborted_ = false;
};

}  // namespace vesk::fakes
