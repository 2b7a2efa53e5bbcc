#include "platform/linux/loop/IdleTimer.h"

#include <system_error>
#include <utility>

namespace vesk::loop {

IdleTimer::IdleTimer(std::chrono::milliseconds delay, std::function<void()> task)
    : delay_(delay), task_(std::move(task)) {
  const std::lock_guard lock(mutex_);
  startThread();
}

IdleTimer::~IdleTimer() {
  {
    const std::lock_guard lock(mutex_);
    ending_ = true;
  }
  changed_.notify_all();
  if (thread_.joinable()) thread_.join();
}

void IdleTimer::restart() {
  const std::lock_guard lock(mutex_);
  const bool wasIdle = !due_.has_value();
  due_ = std::chrono::steady_clock::now() + delay_;
  if (!thread_.joinable()) startThread();
  // A thread that already waits finds the later time by itself when it wakes.
  if (wasIdle) changed_.notify_all();
}

void IdleTimer::startThread() {
  try {
    thread_ = std::thread([this] { run(); });
  } catch (const std::system_error&) {
    // The next restart tries again.
  }
}

void IdleTimer::run() {
  std::unique_lock lock(mutex_);
  while (!ending_) {
    if (!due_) {
      changed_.wait(lock);
    } else if (std::chrono::steady_clock::now() < *due_) {
      const Time due = *due_;
      changed_.wait_until(lock, due);
    } else {
      due_.reset();
      lock.unlock();
      task_();
      lock.lock();
    }
  }
}

}  // namespace vesk::loop
