#include "fakes/RecordingAlerts.h"

#include <gtest/gtest.h>

#include <utility>

namespace vesk::fakes {

class RecordingAlerts::RecordingAlert final : public Alert {
 public:
  explicit RecordingAlert(RecordingAlerts& alerts) : alerts_(alerts) { ++alerts_.alive; }
  ~RecordingAlert() override { --alerts_.alive; }

  void setMessageText(const std::string& text) override { record("message: " + text); }
  void setInformativeText(const std::string& text) override { record("informative: " + text); }
  void addButton(const std::string& title) override { record("button: " + title); }
  void setLevel(WindowLevel level) override {
    record("level: " + std::to_string(static_cast<int>(level)));
  }
  ModalResponse runModal() override { return alerts_.runModal(); }

 private:
  void record(std::string call) { alerts_.calls.push_back(std::move(call)); }

  RecordingAlerts& alerts_;
};

class RecordingAlerts::RecordingTimer final : public ModalTimer {
 public:
  explicit RecordingTimer(RecordingAlerts& alerts) : alerts_(alerts) {}
  ~RecordingTimer() override { alerts_.handler_ = nullptr; }
  void invalidate() override {
    alerts_.calls.emplace_back("invalidate");
    alerts_.handler_ = nullptr;
  }

 private:
  RecordingAlerts& alerts_;
};

void RecordingAlerts::fireTimer() {
  if (const auto handler = std::exchange(handler_, nullptr)) handler();
}

std::unique_ptr<Alert> RecordingAlerts::makeAlert() {
  calls.emplace_back("alert");
  return std::make_unique<RecordingAlert>(*this);
}

void RecordingAlerts::abortModal() {
  calls.emplace_back("abort");
  aborted_ = true;
}

std::unique_ptr<ModalTimer> RecordingAlerts::startModalTimer(std::chrono::nanoseconds delay,
                                                             std::function<void()> handler) {
  calls.emplace_back("timer");
  delay_ = delay;
  handler_ = std::move(handler);
  return std::make_unique<RecordingTimer>(*this);
}

ModalResponse RecordingAlerts::runModal() {
  calls.emplace_back("run");
  aborted_ = false;
  const auto response = person();
  if (aborted_) return ModalResponse::abort;
  if (!response) ADD_FAILURE() << "nothing ended the modal loop";
  return response.value_or(ModalResponse::abort);
}

}  // namespace vesk::fakes
