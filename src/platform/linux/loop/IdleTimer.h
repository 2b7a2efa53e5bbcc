#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <optional>
#include <thread>

namespace vesk::loop {

/// Does something once a while after it was last put off.
///
/// Thread: `restart` from any, the task too; the task runs on a thread of this object's own, which
/// starts with it and sleeps without waking until the time has come. Destroying the object waits
/// for a running task and drops one that was due. Fails: where no thread can be had, nothing is
/// done until a later `restart` gets one.
class IdleTimer {
 public:
  IdleTimer(std::chrono::milliseconds delay, std::function<void()> task);
  ~IdleTimer();
  IdleTimer(const IdleTimer&) = delete;
  IdleTimer& operator=(const IdleTimer&) = delete;

  void restart();

 private:
  using Time = std::chrono::steady_clock::time_point;

  void startThread();
  void run();

  const std::chrono::milliseconds delay_;
  const std::function<void()> task_;
  std::mutex mutex_;
  std::condition_variable changed_;
  std::optional<Time> due_;
  bool ending_ = false;
  std::thread thread_;
};

}  // namespace vesk::loop
