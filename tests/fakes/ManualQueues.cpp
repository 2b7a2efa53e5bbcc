#include "fakes/ManualQueues.h"

#include <algorithm>
#include <utility>

#include "support/Patience.h"

namespace vesk::fakes {
namespace {

bool waitFor(std::condition_variable& condition, std::unique_lock<std::mutex>& lock,
             const auto& filled) {
  return condition.wait_for(lock, std::chrono::milliseconds(testing::patience()), filled);
}

}  // namespace

class ManualQueues::ManualSerialQueue final : public SerialQueue {
 public:
  explicit ManualSerialQueue(ManualQueues& queues) : queues_(queues) {}
  ~ManualSerialQueue() override {
    queues_.runQueue(this);
    queues_.removeAlarmsOf(this);
  }
  void async(Task task) override { queues_.submit(this, std::move(task)); }
  void sync(const Task& task) override {
    queues_.runQueue(this);
    task();
  }

 private:
  ManualQueues& queues_;
};

class ManualQueues::ManualTimer final : public Timer {
 public:
  ManualTimer(ManualQueues& queues, const void* queue, TimerSchedule schedule, Task handler)
      : queues_(queues), queue_(queue), schedule_(schedule), handler_(std::move(handler)) {}
  ~ManualTimer() override { queues_.removeAlarms(this); }
  void resume() override {
    const auto due = queues_.clock_.hostTime() + schedule_.interval;
    const std::lock_guard lock(queues_.mutex_);
    queues_.alarms_.push_back({due, schedule_.interval, this, queue_, handler_});
  }
  void cancel() override { queues_.removeAlarms(this); }

 private:
  ManualQueues& queues_;
  const void* queue_;
  TimerSchedule schedule_;
  Task handler_;
};

void ManualQueues::ManualMainQueue::after(std::chrono::nanoseconds delay, Task task) {
  const auto due = queues_.clock_.hostTime() + delay;
  const std::lock_guard lock(queues_.mutex_);
  queues_.alarms_.push_back({due, {}, nullptr, this, std::move(task)});
}

std::unique_ptr<SerialQueue> ManualQueues::makeSerialQueue(const std::string& label) {
  const std::lock_guard lock(mutex_);
  labels_.push_back(label);
  return std::make_unique<ManualSerialQueue>(*this);
}

std::unique_ptr<Timer> ManualQueues::makeTimer(SerialQueue& queue, TimerSchedule schedule,
                                               Task handler) {
  const std::lock_guard lock(mutex_);
  schedules_.push_back(schedule);
  return std::make_unique<ManualTimer>(*this, &queue, schedule, std::move(handler));
}

void ManualQueues::run() {
  while (runNext(nullptr)) {
  }
}

void ManualQueues::advance(std::chrono::nanoseconds duration) {
  const auto end = clock_.hostTime() + duration;
  run();
  for (auto due = nextAlarm(); due && *due <= end; due = nextAlarm()) {
    clock_.advance(std::max(*due - clock_.hostTime(), std::chrono::nanoseconds(0)));
    ringDueAlarms();
    run();
  }
  clock_.advance(std::max(end - clock_.hostTime(), std::chrono::nanoseconds(0)));
}

bool ManualQueues::waitAndRun() {
  {
    std::unique_lock lock(mutex_);
    const auto filled = [this] { return !entries_.empty(); };
    if (!waitFor(submitted_, lock, filled)) return false;
  }
  run();
  return true;
}

bool ManualQueues::waitForTasks(std::size_t count) {
  std::unique_lock lock(mutex_);
  return waitFor(submitted_, lock, [&] { return entries_.size() >= count; });
}

std::size_t ManualQueues::waiting() const {
  const std::lock_guard lock(mutex_);
  return entries_.size();
}

bool ManualQueues::waitForMainTasks(std::size_t count) {
  std::unique_lock lock(mutex_);
  return waitFor(submitted_, lock, [&] { return countMain() >= count; });
}

std::size_t ManualQueues::mainTasks() const {
  const std::lock_guard lock(mutex_);
  return countMain();
}

std::size_t ManualQueues::countMain() const {
  return static_cast<std::size_t>(std::ranges::count(entries_, &main_, &Entry::queue));
}

std::vector<std::string> ManualQueues::labels() const {
  const std::lock_guard lock(mutex_);
  return labels_;
}

std::vector<TimerSchedule> ManualQueues::schedules() const {
  const std::lock_guard lock(mutex_);
  return schedules_;
}

void ManualQueues::submit(const void* queue, Task task) {
  {
    const std::lock_guard lock(mutex_);
    entries_.push_back({queue, std::move(task)});
  }
  submitted_.notify_all();
}

void ManualQueues::runQueue(const void* queue) {
  while (runNext(queue)) {
  }
}

/// Runs the oldest task of one queue, or of all queues when `queue` is null.
bool ManualQueues::runNext(const void* queue) {
  Task task;
  {
    const std::lock_guard lock(mutex_);
    const auto mine = [&](const Entry& e) { return queue == nullptr || e.queue == queue; };
    const auto found = std::ranges::find_if(entries_, mine);
    if (found == entries_.end()) return false;
    task = std::move(found->task);
    entries_.erase(found);
  }
  task();
  return true;
}

std::optional<HostTime> ManualQueues::nextAlarm() const {
  const std::lock_guard lock(mutex_);
  const auto next = std::ranges::min_element(alarms_, {}, &Alarm::due);
  if (next == alarms_.end()) return std::nullopt;
  return next->due;
}

void ManualQueues::ringDueAlarms() {
  const auto now = clock_.hostTime();
  const std::lock_guard lock(mutex_);
  for (auto& alarm : alarms_) {
    if (alarm.due > now) continue;
    entries_.push_back({alarm.queue, alarm.handler});
    alarm.due += alarm.interval;
  }
  std::erase_if(alarms_,
                [&](const Alarm& alarm) { return alarm.timer == nullptr && alarm.due <= now; });
}

void ManualQueues::removeAlarms(const void* timer) {
  const std::lock_guard lock(mutex_);
  std::erase_if(alarms_, [&](const Alarm& alarm) { return alarm.timer == timer; });
}

void ManualQueues::removeAlarmsOf(const void* queue) {
  const std::lock_guard lock(mutex_);
  std::erase_if(alarms_, [&](const Alarm& alarm) { return alarm.queue == queue; });
}

}  // namespace vesk::fakes
