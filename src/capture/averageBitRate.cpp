#include "capture/averageBitRate.h"

#include <algorithm>
#include <limits>

#include "platform/Fatal.h"

namespace vesk {

std::int64_t averageBitRate(std::int64_t kbps) {
  constexpr std::int64_t least = 200;
  constexpr std::int64_t bitsPerKilobit = 1000;
  const std::int64_t used = std::max(kbps, least);
  if (used > std::numeric_limits<std::int64_t>::max() / bitsPerKilobit) {
    fatal("a bit rate does not fit 64 bits");
  }
  return used * bitsPerKilobit;
}

}  // namespace vesk
