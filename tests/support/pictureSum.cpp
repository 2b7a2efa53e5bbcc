#include "support/pictureSum.h"

#include <zlib.h>

namespace vesk::testing {

std::uint32_t pictureSum(std::span<const std::uint8_t> bytes, std::uint32_t before) {
  return static_cast<std::uint32_t>(::crc32_z(before, bytes.data(), bytes.size()));
}

}  // namespace vesk::testing
