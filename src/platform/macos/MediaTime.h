#pragma once

#include <CoreMedia/CoreMedia.h>

#include <cstdint>

#include "platform/Clock.h"

/// Time between the core and the media frameworks. Thread: any.
namespace vesk::mac {

inline constexpr std::int32_t nanosecondsOfASecond = 1'000'000'000;

inline CMTime mediaTime(HostTime time) {
  return CMTimeMake(time.time_since_epoch().count(), nanosecondsOfASecond);
}

/// Rounded down to nanoseconds; in two steps, so that nothing overflows on the way.
inline HostTime hostTime(const CMTime& time) {
  const std::int64_t seconds = time.value / time.timescale;
  const std::int64_t rest = time.value % time.timescale;
  return HostTime(std::chrono::seconds(seconds) +
                  std::chrono::nanoseconds(rest * nanosecondsOfASecond / time.timescale));
}

}  // namespace vesk::mac
