#include "platform/linux/picture/h264/bits.h"

#include <bit>
#include <utility>

namespace vesk::picture::h264 {

std::optional<std::uint32_t> BitReader::bits(unsigned count) {
  if (count > bytes_.size() * 8 - position_) {
    position_ = bytes_.size() * 8;
    return std::nullopt;
  }
  std::uint32_t value = 0;
  for (; count > 0; --count, ++position_) {
    const auto byte = std::to_integer<unsigned>(bytes_[position_ / 8]);
    value = value << 1 | (byte >> (7 - position_ % 8) & 1U);
  }
  return value;
}

std::optional<std::uint32_t> BitReader::ue() {
  unsigned zeros = 0;
  for (auto bit = bits(1); bit != 1U; bit = bits(1)) {
    // More zeros would not fit 32 bits; no sound stream has them.
    if (!bit || ++zeros > 31) return std::nullopt;
  }
  const auto rest = bits(zeros);
  if (!rest) return std::nullopt;
  return (1U << zeros) - 1 + *rest;
}

void BitWriter::bits(std::uint32_t value, unsigned count) {
  while (count > 0) {
    --count;
    if (used_ == 0) bytes_.push_back(std::byte{0});
    bytes_.back() |= static_cast<std::byte>((value >> count & 1U) << (7 - used_));
    used_ = (used_ + 1) % 8;
  }
}

void BitWriter::ue(std::uint32_t value) {
  const auto width = static_cast<unsigned>(std::bit_width(value + 1));
  bits(0, width - 1);
  bits(value + 1, width);
}

void BitWriter::se(std::int32_t value) {
  ue(static_cast<std::uint32_t>(value > 0 ? 2 * value - 1 : -2 * value));
}

Bytes BitWriter::finished() {
  bits(1, 1);
  used_ = 0;
  return std::exchange(bytes_, {});
}

}  // namespace vesk::picture::h264
