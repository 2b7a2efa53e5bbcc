#include "platform/linux/loop/QtMainQueue.h"

#include <sys/eventfd.h>
#include <sys/timerfd.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <utility>

#include "platform/Fatal.h"

namespace vesk::loop {
namespace {

using std::chrono::steady_clock;

Descriptor opened(int descriptor) {
  if (descriptor < 0) fatal("the main queue got no descriptor from the system");
  return Descriptor(descriptor);
}

/// Eventfd and timerfd both tell in eight bytes how often they were signalled; reading them makes
/// the descriptor silent again.
void silence(const Descriptor& descriptor) {
  std::uint64_t count = 0;
  [[maybe_unused]] const auto ignored = ::read(descriptor.get(), &count, sizeof count);
}

itimerspec timerAt(steady_clock::time_point due) {
  using namespace std::chrono;
  // Zero would disarm the timer; a moment that is past fires at once.
  const auto time = std::max(due.time_since_epoch(), steady_clock::duration(1));
  const auto whole = floor<seconds>(time);
  itimerspec specification{};
  specification.it_value.tv_sec = whole.count();
  specification.it_value.tv_nsec = duration_cast<nanoseconds>(time - whole).count();
  return specification;
}

}  // namespace

QtMainQueue::QtMainQueue()
    : taskSignal_(opened(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK))),
      timer_(opened(::timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC | TFD_NONBLOCK))),
      taskNotifier_(taskSignal_.get(), QSocketNotifier::Read),
      timerNotifier_(timer_.get(), QSocketNotifier::Read) {
  QObject::connect(&taskNotifier_, &QSocketNotifier::activated, [this] {
    silence(taskSignal_);
    runTasks();
  });
  QObject::connect(&timerNotifier_, &QSocketNotifier::activated, [this] {
    silence(timer_);
    submitDueTasks();
  });
}

void QtMainQueue::async(Task task) {
  {
    const std::lock_guard lock(mutex_);
    tasks_.push_back(std::move(task));
  }
  wake();
}

void QtMainQueue::after(std::chrono::nanoseconds delay, Task task) {
  const auto due = steady_clock::now() + delay;
  const std::lock_guard lock(mutex_);
  const auto later = std::ranges::upper_bound(delayed_, due, {}, &Delayed::due);
  delayed_.insert(later, Delayed{due, std::move(task)});
  armTimer();
}

void QtMainQueue::wake() const {
  const std::uint64_t one = 1;
  [[maybe_unused]] const auto ignored = ::write(taskSignal_.get(), &one, sizeof one);
}

void QtMainQueue::armTimer() const {
  const itimerspec specification = delayed_.empty() ? itimerspec{} : timerAt(delayed_.front().due);
  ::timerfd_settime(timer_.get(), TFD_TIMER_ABSTIME, &specification, nullptr);
}

void QtMainQueue::submitDueTasks() {
  const std::lock_guard lock(mutex_);
  const auto firstLater =
      std::ranges::upper_bound(delayed_, steady_clock::now(), {}, &Delayed::due);
  std::for_each(delayed_.begin(), firstLater,
                [this](Delayed& delayed) { tasks_.push_back(std::move(delayed.task)); });
  delayed_.erase(delayed_.begin(), firstLater);
  armTimer();
  wake();
}

void QtMainQueue::runTasks() {
  // A modal loop inside a task comes here for every task submitted meanwhile. They wait: the outer
  // call wakes the loop for them when that task has returned.
  if (running_) return;
  running_ = true;
  std::unique_lock lock(mutex_);
  // Only what is here now: tasks that submit tasks must not keep window events waiting.
  for (auto count = tasks_.size(); count > 0; --count) {
    Task task = std::move(tasks_.front());
    tasks_.pop_front();
    lock.unlock();
    task();
    task = nullptr;
    lock.lock();
  }
  running_ = false;
  if (!tasks_.empty()) wake();
}

}  // namespace vesk::loop
