#pragma once

#include <chrono>
#include <string>

namespace vesk {

/// The internet date-time of ISO 8601 (RFC 3339) in UTC with whole seconds, rounded down, and the
/// designator Z: 2026-11-16T04:04:03Z.
std::string iso8601(std::chrono::system_clock::time_point time);

}  // namespace vesk
