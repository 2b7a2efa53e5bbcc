#include "platform/linux/loop/ThreadQueue.h"

#include <pthread.h>
#include <sys/prctl.h>

#include <algorithm>
#include <condition_variable>
#include <csignal>
#include <cstdint>
#include <deque>
#include <future>
#include <mutex>
#include <utility>
#include <vector>

#include "platform/Fatal.h"

namespace vesk::loop {
namespace {

using std::chrono::steady_clock;

/// One repeating timer; read and written under the queue's mutex, but for the handler.
struct Firing {
  TimerSchedule schedule;
  Task handler;
  steady_clock::time_point due;
};

using FiringRef = std::shared_ptr<Firing>;

void nameThisThread(const std::string& label) {
  constexpr std::size_t systemLimit = 15;
  const std::string name = label.substr(label.rfind('.') + 1).substr(0, systemLimit);
  ::pthread_setname_np(::pthread_self(), name.c_str());
}

/// A signal that interrupts a blocking call would end the agent's connection, so every signal goes
/// to the main thread. The ones that tell of a fault in this thread must stay with it.
void leaveSignalsToTheMainThread() {
  sigset_t signals;
  ::sigfillset(&signals);
  for (const int fault : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT, SIGTRAP}) {
    ::sigdelset(&signals, fault);
  }
  ::pthread_sigmask(SIG_SETMASK, &signals, nullptr);
}

/// Missed firings are passed over, so that a queue that was held up does not fire in a burst.
steady_clock::time_point nextDue(const Firing& firing, steady_clock::time_point now) {
  const auto missed = std::max<std::int64_t>(0, (now - firing.due) / firing.schedule.interval);
  return firing.due + (missed + 1) * firing.schedule.interval;
}

}  // namespace

/// What the queue's owner, its thread and its timers share.
class ThreadQueue::State {
 public:
  void submit(Task task) {
    {
      const std::lock_guard lock(mutex_);
      tasks_.push_back(std::move(task));
    }
    changed_.notify_one();
  }

  /// Wakes nobody where a timer will in time, whose handler runs after the task. One that is
  /// overdue waits for no more tasks, nor for those that others have woken the thread up for.
  void submitWithin(std::chrono::nanoseconds leeway, Task task) {
    const auto now = steady_clock::now();
    {
      const std::lock_guard lock(mutex_);
      tasks_.push_back(std::move(task));
      const auto next = nextFiring();
      if (next != firings_.end() && (*next)->due - now <= leeway) {
        const bool onlySuch = patient_ + 1 == tasks_.size();
        if ((*next)->due > now && onlySuch) ++patient_;
        return;
      }
    }
    changed_.notify_one();
  }

  void close() {
    {
      const std::lock_guard lock(mutex_);
      closing_ = true;
    }
    changed_.notify_one();
  }

  void add(FiringRef firing) {
    {
      const std::lock_guard lock(mutex_);
      firing->due = steady_clock::now() + firing->schedule.interval;
      firings_.push_back(std::move(firing));
    }
    changed_.notify_one();
  }

  void remove(const FiringRef& firing) {
    const std::lock_guard lock(mutex_);
    std::erase(firings_, firing);
  }

  /// Runs tasks and firings until the queue is closed and no task is left.
  void run() {
    std::unique_lock lock(mutex_);
    while (Task task = nextTask(lock)) {
      lock.unlock();
      task();
      task = nullptr;  // what it holds is let go of outside the lock
      lock.lock();
    }
  }

 private:
  /// Waits for something to do. Empty at the end of the queue.
  Task nextTask(std::unique_lock<std::mutex>& lock) {
    for (;;) {
      if (Task firing = patient_ == 0 ? dueFiring() : nullptr) return firing;
      if (!tasks_.empty()) {
        Task task = std::move(tasks_.front());
        tasks_.pop_front();
        if (patient_ > 0) --patient_;
        return task;
      }
      if (closing_) return nullptr;
      wait(lock);
    }
  }

  void wait(std::unique_lock<std::mutex>& lock) {
    const auto next = nextFiring();
    if (next == firings_.end()) {
      changed_.wait(lock);
    } else {
      const auto due = (*next)->due;  // a copy: the timer may be gone before the wait is over
      changed_.wait_until(lock, due);
    }
  }

  std::vector<FiringRef>::iterator nextFiring() {
    return std::ranges::min_element(firings_, {}, &Firing::due);
  }

  Task dueFiring() {
    if (closing_) return nullptr;
    const auto now = steady_clock::now();
    const auto due = std::ranges::find_if(firings_, [&](const auto& f) { return f->due <= now; });
    if (due == firings_.end()) return nullptr;
    (*due)->due = nextDue(**due, now);
    return [firing = *due] { firing->handler(); };
  }

  std::mutex mutex_;
  std::condition_variable changed_;
  std::deque<Task> tasks_;
  /// As many tasks are to run before a timer, which they have waited for.
  std::size_t patient_ = 0;
  std::vector<FiringRef> firings_;
  bool closing_ = false;
};

class ThreadQueue::QueueTimer final : public Timer {
 public:
  QueueTimer(std::weak_ptr<State> queue, TimerSchedule schedule, Task handler)
      : queue_(std::move(queue)),
        firing_(std::make_shared<Firing>(Firing{schedule, std::move(handler), {}})) {}
  ~QueueTimer() override { remove(); }
  QueueTimer(const QueueTimer&) = delete;
  QueueTimer& operator=(const QueueTimer&) = delete;

  void resume() override {
    if (const auto queue = queue_.lock()) queue->add(firing_);
  }
  void cancel() override { remove(); }

 private:
  void remove() {
    if (const auto queue = queue_.lock()) queue->remove(firing_);
  }

  std::weak_ptr<State> queue_;
  FiringRef firing_;
};

ThreadQueue::ThreadQueue(const std::string& label)
    : state_(std::make_shared<State>()), thread_([state = state_, label] {
        nameThisThread(label);
        leaveSignalsToTheMainThread();
        state->run();
      }) {}

ThreadQueue::~ThreadQueue() {
  state_->close();
  if (thread_.get_id() == std::this_thread::get_id()) {
    thread_.detach();
  } else {
    thread_.join();
  }
}

void ThreadQueue::async(Task task) {
  // Held on to, because the task may run, and destroy the queue, before this call returns.
  const auto state = state_;
  state->submit(std::move(task));
}

void ThreadQueue::asyncWithin(std::chrono::nanoseconds leeway, Task task) {
  const auto state = state_;
  state->submitWithin(leeway, std::move(task));
}

void ThreadQueue::sync(const Task& task) {
  if (thread_.get_id() == std::this_thread::get_id()) fatal("a queue was asked to wait for itself");
  std::promise<void> done;
  state_->submit([&] {
    task();
    done.set_value();
  });
  done.get_future().wait();
}

std::unique_ptr<Timer> ThreadQueue::makeTimer(TimerSchedule schedule, Task handler) {
  return std::make_unique<QueueTimer>(state_, schedule, std::move(handler));
}

}  // namespace vesk::loop
