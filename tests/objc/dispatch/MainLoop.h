#pragma once

#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <map>
#include <mutex>
#include <utility>

namespace vesk::fakes {

/// The main thread's run loop and, as one of its sources, the main queue. A loop within a task of
/// the main queue runs timers and blocks and leaves the queue alone. An alert's loop runs those of
/// the common modes alone.
///
/// Thread: `run…` and `advance` on the main one, the rest on any. Fails: an exception of what it
/// runs passes through.
class MainLoop {
 public:
  using Work = std::function<void()>;
  using Time = std::chrono::steady_clock::time_point;
  enum class Mode { usual, common };

  static MainLoop& only();

  /// The main queue.
  void async(Work task);
  void after(std::chrono::nanoseconds delay, Work task);

  /// The number takes a timer back.
  void perform(Work block, Mode mode = Mode::common);
  int addTimer(std::chrono::nanoseconds delay, Work handler, Mode mode = Mode::common);
  void removeTimer(int timer);

  /// Runs until `stop`, or until `isOver` says so, or until the time is up.
  void run(const std::function<bool()>& isOver, Time deadline = Time::max());
  void runForAlert(const std::function<bool()>& isOver);

  /// Ends the innermost loop; one that has not begun yet ends at once.
  void stop();

  /// Lets `isOver` be asked again.
  void wake();

  /// Timers and delayed tasks see that much more time gone by, and so do events.
  void advance(std::chrono::nanoseconds time);
  Time now();

  /// How many tasks of the main queue are due.
  std::size_t waiting();

  /// As it was at first.
  void clear();

 private:
  struct Timer {
    int number;
    Mode mode;
    Work handler;
  };

  Time nowUnlocked() const { return std::chrono::steady_clock::now() + advanced_; }
  void run(const std::function<bool()>& isOver, Time deadline, Mode least);
  std::deque<std::pair<Mode, Work>>::iterator nextBlock(Mode least);
  std::multimap<Time, Timer>::iterator nextTimer(Mode least);
  Work takeNext(Mode least);
  Work taskOfTheQueue(Work task);
  void wait(std::unique_lock<std::mutex>& lock, Time deadline, Mode least);

  std::mutex mutex_;
  std::condition_variable changed_;
  std::deque<std::pair<Mode, Work>> blocks_;
  std::deque<Work> tasks_;
  std::deque<Work> forgotten_;  ///< by `clear`
  std::multimap<Time, Work> delayed_;
  std::multimap<Time, Timer> timers_;
  std::chrono::nanoseconds advanced_{};
  int timerCount_ = 0;
  bool drains_ = false;  ///< a task of the queue runs
  bool stopped_ = false;
  bool woken_ = false;  ///< since `isOver` was asked
};

}  // namespace vesk::fakes
