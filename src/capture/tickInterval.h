#pragma once

#include <chrono>
#include <cstdint>

namespace vesk {

/// The time from one encoded frame to the next. A frame rate of zero or less is a programming
/// error.
std::chrono::nanoseconds tickInterval(std::int32_t fps);

}  // namespace vesk
