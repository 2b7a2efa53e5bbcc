#pragma once

#include <dispatch/dispatch.h>

#include <memory>
#include <string>

#include "platform/SerialQueue.h"
#include "platform/Timer.h"

namespace vesk::mac {

/// A serial dispatch queue. Thread, ownership, failure: as `SerialQueue` says.
class DispatchQueue final : public SerialQueue {
 public:
  explicit DispatchQueue(const std::string& label);

  /// Waits for the tasks that were submitted, unless it runs on the queue itself.
  ~DispatchQueue() override;

  DispatchQueue(const DispatchQueue&) = delete;
  DispatchQueue& operator=(const DispatchQueue&) = delete;

  void async(Task task) override;
  void sync(const Task& task) override;

  /// A timer whose handler runs on this queue. It may outlive the queue and then fires no more.
  std::unique_ptr<Timer> makeTimer(TimerSchedule schedule, Task handler);

  /// For frameworks that call back on a queue.
  dispatch_queue_t queue() const { return queue_; }

 private:
  class QueueTimer;

  bool isCurrent() const;

  dispatch_queue_t queue_;
  std::shared_ptr<bool> open_ = std::make_shared<bool>(true);  ///< changed on the queue alone
};

}  // namespace vesk::mac
