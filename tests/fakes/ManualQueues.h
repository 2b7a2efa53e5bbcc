#pragma once

#include <condition_variable>
#include <deque>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "fakes/ManualClock.h"
#include "platform/Queues.h"

namespace vesk::fakes {

/// Queues without threads: their tasks run on the test's thread, when the test says so, and their
/// timers follow a `ManualClock`.
///
/// Thread: `async` from any; everything else on the test's. Queues and timers may be destroyed in
/// any order, but not after this object.
class ManualQueues final : public Queues {
 public:
  explicit ManualQueues(ManualClock& clock) : clock_(clock) {}

  MainQueue& main() override { return main_; }
  std::unique_ptr<SerialQueue> makeSerialQueue(const std::string& label) override;
  std::unique_ptr<Timer> makeTimer(SerialQueue& queue, TimerSchedule schedule,
                                   Task handler) override;

  /// Runs what was submitted, to all queues in the order of submission, until nothing is left.
  void run();

  /// Moves the clock to each timer and each delayed task that falls due within `duration`, running
  /// everything as it goes, and ends at exactly `duration` from now.
  void advance(std::chrono::nanoseconds duration);

  /// Waits until another thread has submitted something, then runs it. False when that takes far
  /// longer than any test needs.
  bool waitAndRun();

  /// Waits until other threads have submitted so much that `count` tasks wait. False when
  /// that takes too long.
  bool waitForTasks(std::size_t count);

  /// How many tasks wait now.
  std::size_t waiting() const;

  /// The same for tasks of the main queue alone.
  bool waitForMainTasks(std::size_t count);
  std::size_t mainTasks() const;

  /// The labels of the queues made so far.
  std::vector<std::string> labels() const;

  /// The schedules of the timers made so far.
  std::vector<TimerSchedule> schedules() const;

 private:
  struct Entry {
    const void* queue;
    Task task;
  };
  struct Alarm {
    HostTime due;
    std::chrono::nanoseconds interval;  ///< zero: once
    const void* timer;
    const void* queue;
    Task handler;
  };

  class ManualSerialQueue;
  class ManualTimer;

  class ManualMainQueue final : public MainQueue {
   public:
    explicit ManualMainQueue(ManualQueues& queues) : queues_(queues) {}
    void async(Task task) override { queues_.submit(this, std::move(task)); }
    void after(std::chrono::nanoseconds delay, Task task) override;

   private:
    ManualQueues& queues_;
  };

  void submit(const void* queue, Task task);
  std::size_t countMain() const;
  void runQueue(const void* queue);
  bool runNext(const void* queue);
  std::optional<HostTime> nextAlarm() const;
  void ringDueAlarms();
  void removeAlarms(const void* timer);
  void removeAlarmsOf(const void* queue);

  ManualClock& clock_;
  ManualMainQueue main_{*this};
  mutable std::mutex mutex_;
  std::condition_variable submitted_;
  std::deque<Entry> entries_;
  std::vector<Alarm> alarms_;
  std::vector<std::string> labels_;
  std::vector<TimerSchedule> schedules_;
};

}  // namespace vesk::fakes
