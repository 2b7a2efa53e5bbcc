#pragma once

#include <cstdint>

namespace vesk {

/// The frame rate in use for a requested one: below 5 nothing looks alive, above 60 no screen shows
/// the difference.
std::int32_t frameRate(std::int64_t requested);

}  // namespace vesk
