#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

#include "agent/FrameCheck.h"

namespace vesk::agent {

using TimePoint = std::chrono::steady_clock::time_point;

/// Sums the video up into one note a second, so that a viewer at sixty pictures a second can still
/// read what else happens.
///
/// Thread: one. Owns: the sums. Time comes with the calls.
class VideoNotes {
 public:
  void add(const AccessUnit& unit, TimePoint now);

  /// When the next note is due; nothing while there is nothing to tell.
  std::optional<TimePoint> due() const { return due_; }

  /// The note about everything since the one before; nothing when there was nothing.
  std::optional<std::string> take();

 private:
  std::optional<TimePoint> due_;
  std::uint64_t units_ = 0;
  std::uint64_t bytes_ = 0;
  bool hasKeyFrame_ = false;
};

}  // namespace vesk::agent
