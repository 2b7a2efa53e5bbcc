#include "platform/macos/DispatchQueue.h"

#include <cstdint>
#include <utility>

#include "platform/Fatal.h"
#include "platform/macos/runTask.h"

namespace vesk::mac {

class DispatchQueue::QueueTimer final : public Timer {
 public:
  QueueTimer(dispatch_queue_t queue, std::shared_ptr<const bool> queueIsOpen,
             TimerSchedule schedule, Task handler)
      : source_(dispatch_source_create(DISPATCH_SOURCE_TYPE_TIMER, 0, 0, queue)),
        schedule_(schedule) {
    dispatch_source_set_event_handler(source_, ^{
      if (*queueIsOpen) runBorrowedTask(const_cast<Task*>(&handler));
    });
  }

  /// The library does not take back a source that was never started.
  ~QueueTimer() override {
    cancel();
    if (!started_) dispatch_activate(source_);
  }
  QueueTimer(const QueueTimer&) = delete;
  QueueTimer& operator=(const QueueTimer&) = delete;

  void resume() override {
    const auto interval = schedule_.interval.count();
    dispatch_source_set_timer(source_, dispatch_time(DISPATCH_TIME_NOW, interval),
                              static_cast<std::uint64_t>(interval),
                              static_cast<std::uint64_t>(schedule_.leeway.count()));
    dispatch_activate(source_);
    started_ = true;
  }

  void cancel() override { dispatch_source_cancel(source_); }

 private:
  dispatch_source_t source_;
  TimerSchedule schedule_;
  bool started_ = false;
};

DispatchQueue::DispatchQueue(const std::string& label)
    : queue_(dispatch_queue_create(label.c_str(), DISPATCH_QUEUE_SERIAL)) {
  // A mark by which a task finds out where it runs; this object's address is unique meanwhile.
  dispatch_queue_set_specific(queue_, this, this, nullptr);
}

DispatchQueue::~DispatchQueue() {
  if (isCurrent()) {
    *open_ = false;
  } else {
    sync([this] { *open_ = false; });
  }
  dispatch_queue_set_specific(queue_, this, nullptr, nullptr);
}

void DispatchQueue::async(Task task) {
  // Held on to, because the task may run, and destroy this object, before this call returns.
  const dispatch_queue_t queue = queue_;
  dispatch_async_f(queue, givenAway(std::move(task)), runTask);
}

void DispatchQueue::sync(const Task& task) {
  if (isCurrent()) fatal("a queue was asked to wait for itself");
  dispatch_sync_f(queue_, const_cast<Task*>(&task), runBorrowedTask);
}

std::unique_ptr<Timer> DispatchQueue::makeTimer(TimerSchedule schedule, Task handler) {
  return std::make_unique<QueueTimer>(queue_, open_, schedule, std::move(handler));
}

bool DispatchQueue::isCurrent() const { return dispatch_get_specific(this) != nullptr; }

}  // namespace vesk::mac
