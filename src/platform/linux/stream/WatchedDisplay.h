#pragma once

#include <memory>
#include <mutex>
#include <vector>

#include "platform/Displays.h"

namespace vesk::stream {

/// The display that is watched, while one is. For as long it is the main one to this program,
/// whichever the person makes that meanwhile: picture, hands and sign belong together.
///
/// Thread: any. Owns: nothing. Fails: never.
class WatchedDisplay {
 public:
  using Hold = std::shared_ptr<const DisplayId>;

  /// Until it is dropped, and while no later one is held.
  [[nodiscard]] Hold hold(DisplayId display) {
    auto made = std::make_shared<const DisplayId>(display);
    const std::lock_guard lock(mutex_);
    std::erase_if(held_, [](const auto& hold) { return hold.expired(); });
    held_.insert(held_.begin(), made);
    return made;
  }

  /// 0 while none is. It may be one that has gone.
  DisplayId current() const {
    const std::lock_guard lock(mutex_);
    for (const auto& hold : held_) {
      if (const auto held = hold.lock()) return *held;
    }
    return 0;
  }

 private:
  mutable std::mutex mutex_;
  std::vector<std::weak_ptr<const DisplayId>> held_;  ///< the latest one first
};

}  // namespace vesk::stream
