#include "control/ControlBacklog.h"

#include <condition_variable>
#include <mutex>

namespace vesk {

class ControlBacklog::State {
 public:
  void take() {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [this] { return taken_ < most; });
    ++taken_;
  }

  void giveUp() {
    {
      const std::lock_guard lock(mutex_);
      --taken_;
    }
    changed_.notify_one();
  }

 private:
  std::mutex mutex_;
  std::condition_variable changed_;
  int taken_ = 0;
};

ControlBacklog::ControlBacklog() : state_(std::make_shared<State>()) {}

ControlBacklog::Place ControlBacklog::enter() const {
  state_->take();
  return {state_.get(), [state = state_](void*) { state->giveUp(); }};
}

}  // namespace vesk
