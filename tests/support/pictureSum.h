#pragma once

#include <cstdint>
#include <span>

namespace vesk::testing {

/// The checksum of a picture's bytes (CRC-32 as in ISO 3309), which every decoder that is compared
/// can be made to tell. `before` is the sum of the bytes in front of these.
std::uint32_t pictureSum(std::span<const std::uint8_t> bytes, std::uint32_t before = 0);

}  // namespace vesk::testing
