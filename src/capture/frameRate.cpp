#include "capture/frameRate.h"

#include <algorithm>

namespace vesk {

std::int32_t frameRate(std::int64_t requested) {
  return static_cast<std::int32_t>(std::clamp<std::int64_t>(requested, 5, 60));
}

}  // namespace vesk
