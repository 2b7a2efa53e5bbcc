#pragma once

#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "platform/ScreenCapture.h"
#include "platform/linux/picture/Nv12Image.h"
#include "support/Patience.h"

namespace vesk::testing {

/// What a stream has delivered so far, from any thread.
class ReceivedSamples {
 public:
  void add(const StreamSample& sample) {
    const std::lock_guard lock(mutex_);
    if (sample.status == static_cast<int>(FrameStatus::complete)) {
      ++images_;
      image_ = std::dynamic_pointer_cast<const picture::Nv12Image>(sample.image);
    } else {
      ++idle_;
    }
    changed_.notify_all();
  }
  void fail(const PlatformError& error) {
    const std::lock_guard lock(mutex_);
    errors_.push_back(error.localizedDescription);
    changed_.notify_all();
  }
  template <typename Condition>
  bool waitUntil(Condition condition) {
    std::unique_lock lock(mutex_);
    return changed_.wait_for(lock, std::chrono::milliseconds(patience()),
                             [&] { return condition(*this); });
  }

  /// Of the last image; -1 before the first.
  int luma(int x, int y) const {
    const std::lock_guard lock(mutex_);
    return image_ == nullptr ? -1 : image_->luma()[y * image_->stride() + x];
  }
  int images() const {
    const std::lock_guard lock(mutex_);
    return images_;
  }
  int idle() const {
    const std::lock_guard lock(mutex_);
    return idle_;
  }
  std::vector<std::string> errors() const {
    const std::lock_guard lock(mutex_);
    return errors_;
  }

 private:
  mutable std::recursive_mutex mutex_;  // conditions ask what others ask
  std::condition_variable_any changed_;
  std::shared_ptr<const picture::Nv12Image> image_;
  int images_ = 0;
  int idle_ = 0;
  std::vector<std::string> errors_;
};

}  // namespace vesk::testing
