#include "objc/dispatch/Worker.h"

#include <cstdio>
#include <cstdlib>
#include <future>
#include <thread>
#include <utility>

extern "C" void* objc_autoreleasePoolPush();
extern "C" void objc_autoreleasePoolPop(void* pool);

namespace vesk::fakes {
namespace {

thread_local Worker* currentWorker = nullptr;

class Current {
 public:
  explicit Current(Worker* worker) : before_(std::exchange(currentWorker, worker)) {}
  ~Current() { currentWorker = before_; }
  Current(const Current&) = delete;
  Current& operator=(const Current&) = delete;

 private:
  Worker* before_;
};

}  // namespace

Worker* Worker::current() { return currentWorker; }

void Worker::start() {
  std::thread([self = shared_from_this()] { self->run(); }).detach();
}

void Worker::async(Work work) {
  const std::lock_guard lock(mutex_);
  waiting_.push_back(std::move(work));
  changed_.notify_all();
}

void Worker::sync(const Work& work) {
  if (current() == this) {
    std::fputs("a queue waits for itself\n", stderr);
    std::abort();
  }
  struct Turn {
    std::promise<void> came;
    std::promise<void> ended;
  };
  const auto turn = std::make_shared<Turn>();
  async([turn] {
    turn->came.set_value();
    turn->ended.get_future().wait();
  });
  turn->came.get_future().wait();
  {
    const Current here(this);
    work();
  }
  turn->ended.set_value();
}

void Worker::at(Time time, Work work) {
  const std::lock_guard lock(mutex_);
  later_.emplace(time, std::move(work));
  changed_.notify_all();
}

void Worker::finish() {
  const std::lock_guard lock(mutex_);
  finished_ = true;
  changed_.notify_all();
}

void Worker::setSpecific(const void* key, void* value) {
  const std::lock_guard lock(mutex_);
  specifics_[key] = value;
}

void* Worker::specific(const void* key) {
  const std::lock_guard lock(mutex_);
  const auto entry = specifics_.find(key);
  return entry == specifics_.end() ? nullptr : entry->second;
}

/// Waits for it; false when there will be none.
bool Worker::takeNext(std::unique_lock<std::mutex>& lock, Work& next) {
  for (;;) {
    if (!later_.empty() && later_.begin()->first <= std::chrono::steady_clock::now()) {
      waiting_.push_back(std::move(later_.begin()->second));
      later_.erase(later_.begin());
    } else if (!waiting_.empty()) {
      next = std::move(waiting_.front());
      waiting_.pop_front();
      return true;
    } else if (finished_) {
      return false;
    } else if (later_.empty()) {
      changed_.wait(lock);
    } else {
      changed_.wait_until(lock, Time(later_.begin()->first));
    }
  }
}

void Worker::run() {
  std::unique_lock lock(mutex_);
  for (Work next; takeNext(lock, next);) {
    lock.unlock();
    perform(std::exchange(next, nullptr));
    lock.lock();
  }
  const auto dropped = std::exchange(later_, {});
  lock.unlock();
}

void Worker::perform(Work work) {
  const Current here(this);
  void* const pool = objc_autoreleasePoolPush();
  work();
  work = nullptr;
  objc_autoreleasePoolPop(pool);
}

}  // namespace vesk::fakes
