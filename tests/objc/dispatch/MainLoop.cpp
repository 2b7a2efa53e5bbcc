#include "objc/dispatch/MainLoop.h"

#include <algorithm>
#include <utility>

extern "C" void* objc_autoreleasePoolPush();
extern "C" void objc_autoreleasePoolPop(void* pool);

namespace vesk::fakes {
namespace {

class Pool {
 public:
  Pool() = default;
  ~Pool() { objc_autoreleasePoolPop(pool_); }
  Pool(const Pool&) = delete;
  Pool& operator=(const Pool&) = delete;

 private:
  void* pool_ = objc_autoreleasePoolPush();
};

}  // namespace

/// Never destroyed: other threads may still submit when the program ends.
MainLoop& MainLoop::only() {
  static MainLoop& loop = *new MainLoop;
  return loop;
}

void MainLoop::async(Work task) {
  const std::lock_guard lock(mutex_);
  tasks_.push_back(std::move(task));
  changed_.notify_all();
}

void MainLoop::after(std::chrono::nanoseconds delay, Work task) {
  const std::lock_guard lock(mutex_);
  delayed_.emplace(nowUnlocked() + delay, std::move(task));
  changed_.notify_all();
}

void MainLoop::perform(Work block, Mode mode) {
  const std::lock_guard lock(mutex_);
  blocks_.emplace_back(mode, std::move(block));
  changed_.notify_all();
}

int MainLoop::addTimer(std::chrono::nanoseconds delay, Work handler, Mode mode) {
  const std::lock_guard lock(mutex_);
  timers_.emplace(nowUnlocked() + delay, Timer{++timerCount_, mode, std::move(handler)});
  changed_.notify_all();
  return timerCount_;
}

void MainLoop::removeTimer(int timer) {
  Work dropped;
  const std::lock_guard lock(mutex_);
  const auto entry =
      std::ranges::find(timers_, timer, [](const auto& each) { return each.second.number; });
  if (entry == timers_.end()) return;
  dropped = std::move(entry->second.handler);
  timers_.erase(entry);
}

void MainLoop::wake() {
  const std::lock_guard lock(mutex_);
  woken_ = true;
  changed_.notify_all();
}

void MainLoop::stop() {
  const std::lock_guard lock(mutex_);
  stopped_ = true;
  changed_.notify_all();
}

void MainLoop::advance(std::chrono::nanoseconds time) {
  const std::lock_guard lock(mutex_);
  advanced_ += time;
  changed_.notify_all();
}

MainLoop::Time MainLoop::now() {
  const std::lock_guard lock(mutex_);
  return nowUnlocked();
}

std::size_t MainLoop::waiting() {
  const std::lock_guard lock(mutex_);
  return tasks_.size();
}

/// What was given to the queue is let go of by running it alone, so that it is kept.
void MainLoop::clear() {
  const std::lock_guard lock(mutex_);
  for (auto& task : tasks_) forgotten_.push_back(std::move(task));
  for (auto& [time, task] : delayed_) forgotten_.push_back(std::move(task));
  blocks_.clear();
  tasks_.clear();
  delayed_.clear();
  timers_.clear();
  advanced_ = {};
  stopped_ = false;
}

/// The queue is not entered a second time while one of its tasks runs.
MainLoop::Work MainLoop::taskOfTheQueue(Work task) {
  return [this, task = std::move(task)]() mutable {
    struct Draining {
      explicit Draining(bool& given) : flag(given) { flag = true; }
      ~Draining() { flag = false; }
      Draining(const Draining&) = delete;
      Draining& operator=(const Draining&) = delete;
      bool& flag;
    };
    const Draining here(drains_);
    std::exchange(task, nullptr)();
  };
}

/// These, and what they return, under the lock.
std::deque<std::pair<MainLoop::Mode, MainLoop::Work>>::iterator MainLoop::nextBlock(Mode least) {
  return std::ranges::find_if(blocks_, [&](const auto& each) { return each.first >= least; });
}

std::multimap<MainLoop::Time, MainLoop::Timer>::iterator MainLoop::nextTimer(Mode least) {
  return std::ranges::find_if(timers_, [&](const auto& each) { return each.second.mode >= least; });
}

/// What is due, or nothing.
MainLoop::Work MainLoop::takeNext(Mode least) {
  if (const auto next = nextBlock(least); next != blocks_.end()) {
    Work block = std::move(next->second);
    blocks_.erase(next);
    return block;
  }
  const auto timer = nextTimer(least);
  if (timer != timers_.end() && timer->first <= nowUnlocked()) {
    Work handler = std::move(timer->second.handler);
    timers_.erase(timer);
    return handler;
  }
  while (!delayed_.empty() && delayed_.begin()->first <= nowUnlocked()) {
    tasks_.push_back(std::move(delayed_.begin()->second));
    delayed_.erase(delayed_.begin());
  }
  if (drains_ || tasks_.empty()) return nullptr;
  Work task = std::move(tasks_.front());
  tasks_.pop_front();
  return taskOfTheQueue(std::move(task));
}

void MainLoop::run(const std::function<bool()>& isOver, Time deadline) {
  run(isOver, deadline, Mode::usual);
}

void MainLoop::runForAlert(const std::function<bool()>& isOver) {
  run(isOver, Time::max(), Mode::common);
}

void MainLoop::run(const std::function<bool()>& isOver, Time deadline, Mode least) {
  std::unique_lock lock(mutex_);
  while (!std::exchange(stopped_, false)) {
    woken_ = false;
    lock.unlock();
    if (isOver() || std::chrono::steady_clock::now() >= deadline) return;
    lock.lock();
    if (Work next = takeNext(least)) {
      lock.unlock();
      const Pool pool;
      next();
      next = nullptr;
      lock.lock();
    } else {
      wait(lock, deadline, least);
    }
  }
}

void MainLoop::wait(std::unique_lock<std::mutex>& lock, Time deadline, Mode least) {
  Time until = deadline;
  const auto timer = nextTimer(least);
  if (timer != timers_.end()) until = std::min(until, timer->first - advanced_);
  if (!delayed_.empty() && !drains_) until = std::min(until, delayed_.begin()->first - advanced_);
  // No end at all is more than the wait can count.
  until = std::min(until, std::chrono::steady_clock::now() + std::chrono::hours(1));
  const bool mayWait =
      !stopped_ && !woken_ && nextBlock(least) == blocks_.end() && (drains_ || tasks_.empty());
  if (mayWait) changed_.wait_until(lock, until);
}

}  // namespace vesk::fakes
