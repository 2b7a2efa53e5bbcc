#pragma once

#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <map>
#include <mutex>

namespace vesk::fakes {

/// The main thread's run loop and, as one of its sources, the main queue. A loop within a task of
/// the main queue runs timers and blocks and leaves the queue alone.
///
/// Thread: `run…` and `advance` on the main one, the rest on any. Fails: an exception of what it
/// runs passes through.
class MainLoop {
 public:
  using Work = std::function<void()>;
  using Time = std::chrono::steady_clock::time_point;

  static MainLoop& only();

  /// The main queue.
  void async(Work task);
  void after(std::chrono::nanoseconds delay, Work task);

  /// Blocks and timers of the common modes. The number takes a timer back.
  void perform(Work block);
  int addTimer(std::chrono::nanoseconds delay, Work handler);
  void removeTimer(int timer);

  /// Runs until `stop`, or until `isOver` says so, or until the time is up.
  void run(const std::function<bool()>& isOver, Time deadline = Time::max());

  /// Ends the innermost loop; one that has not begun yet ends at once.
  void stop();

  /// Lets `isOver` be asked again.
  void wake();

  /// Timers and delayed tasks see that much more time gone by.
  void advance(std::chrono::nanoseconds time);

  /// How many tasks of the main queue are due.
  std::size_t waiting();

  /// As it was at first.
  void clear();

 private:
  Time now() const { return std::chrono::steady_clock::now() + advanced_; }
  Work takeNext();
  Work taskOfTheQueue(Work task);

  std::mutex mutex_;
  std::condition_variable changed_;
  std::deque<Work> blocks_;
  std::deque<Work> tasks_;
  std::deque<Work> forgotten_;  ///< by `clear`
  std::multimap<Time, Work> delayed_;
  std::multimap<Time, std::pair<int, Work>> timers_;
  std::chrono::nanoseconds advanced_{};
  int timerCount_ = 0;
  bool drains_ = false;  ///< a task of the queue runs
  bool stopped_ = false;
  bool woken_ = false;  ///< since `isOver` was asked
};

}  // namespace vesk::fakes
