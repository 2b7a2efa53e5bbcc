#include "support/pictureSum.h"

#include <array>

namespace vesk::testing {
namespace {

constexpr std::array<std::uint32_t, 256> table = [] {
  std::array<std::uint32_t, 256> all{};
  for (std::uint32_t i = 0; i < all.size(); ++i) {
    all[i] = i;
    for (int bit = 0; bit < 8; ++bit) {
      all[i] = (all[i] & 1U) != 0 ? 0xedb88320U ^ (all[i] >> 1U) : all[i] >> 1U;
    }
  }
  return all;
}();

}  // namespace

std::uint32_t pictureSum(std::span<const std::uint8_t> bytes, std::uint32_t before) {
  std::uint32_t sum = ~before;
  for (const std::uint8_t byte : bytes) sum = table[(sum ^ byte) & 0xffU] ^ (sum >> 8U);
  return ~sum;
}

}  // namespace vesk::testing
