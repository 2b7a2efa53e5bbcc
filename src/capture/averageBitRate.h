#pragma once

#include <cstdint>

namespace vesk {

/// The bits per second for a requested number of kilobits, at least 200,000. A number beyond the
/// 64-bit range is a programming error.
std::int64_t averageBitRate(std::int64_t kbps);

}  // namespace vesk
