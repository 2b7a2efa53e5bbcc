#include "support/LinkLoop.h"

#include <utility>

namespace vesk::testing {
namespace {

/// One task after the other; a loop that was ended is one that has run.
class LoopQueue final : public SerialQueue {
 public:
  class State {
   public:
    void submit(Task task) {
      const std::lock_guard lock(mutex_);
      tasks_.push_back(std::move(task));
      changed_.notify_one();
    }
    void run() {
      while (Task task = next()) {
        try {
          task();
        } catch (const EndOfLoop&) {
        }
      }
    }

   private:
    Task next() {
      std::unique_lock lock(mutex_);
      changed_.wait(lock, [this] { return !tasks_.empty(); });
      Task task = std::move(tasks_.front());
      tasks_.pop_front();
      return task;
    }
    std::mutex mutex_;
    std::condition_variable changed_;
    std::deque<Task> tasks_;
  };

  explicit LoopQueue(std::shared_ptr<State> state) : state_(std::move(state)) {}
  ~LoopQueue() override { state_->submit(nullptr); }
  void async(Task task) override { state_->submit(std::move(task)); }
  void sync(const Task&) override { throw std::logic_error("nobody waits for the link's loop"); }

 private:
  std::shared_ptr<State> state_;
};

}  // namespace

void SteppedClock::sleep(std::chrono::nanoseconds duration) {
  std::unique_lock lock(mutex_);
  if (ended_) throw EndOfLoop();
  sleeping_.push_back(duration);
  changed_.notify_all();
  changed_.wait(lock, [this] { return wakes_ > 0 || ended_; });
  if (ended_) throw EndOfLoop();
  --wakes_;
}

std::chrono::nanoseconds SteppedClock::waitForSleep() {
  std::unique_lock lock(mutex_);
  if (!changed_.wait_for(lock, longestWait, [this] { return !sleeping_.empty(); })) {
    throw std::runtime_error("nobody sleeps");
  }
  const auto duration = sleeping_.front();
  sleeping_.pop_front();
  return duration;
}

void SteppedClock::wake() {
  const std::lock_guard lock(mutex_);
  ++wakes_;
  changed_.notify_all();
}

void SteppedClock::end() {
  const std::lock_guard lock(mutex_);
  ended_ = true;
  changed_.notify_all();
}

std::unique_ptr<SerialQueue> LinkQueues::makeSerialQueue(const std::string& label) {
  if (label != "com.vesk.screen.link") return manual_.makeSerialQueue(label);
  auto state = std::make_shared<LoopQueue::State>();
  threads_.emplace_back([state] { state->run(); });
  return std::make_unique<LoopQueue>(state);
}

void LinkQueues::join() {
  for (auto& thread : threads_) thread.join();
  threads_.clear();
}

}  // namespace vesk::testing
