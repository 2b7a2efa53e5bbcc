#include "platform/linux/picture/h264/bits.h"

#include <algorithm>
#include <bit>
#include <utility>

namespace vesk::picture::h264 {

std::optional<std::uint32_t> BitReader::bits(unsigned count) {
  const std::size_t all = bytes_.size() * 8;
  if (position_ > all || count > all - position_) {
    position_ = all;
    return std::nullopt;
  }
  const std::size_t end = position_ + count;
  std::uint64_t value = 0;
  for (std::size_t i = position_ / 8; i < (end + 7) / 8; ++i) {
    value = value << 8 | std::to_integer<std::uint64_t>(bytes_[i]);
  }
  value >>= (8 - end % 8) % 8;
  position_ = end;
  return static_cast<std::uint32_t>(value & ((std::uint64_t{1} << count) - 1));
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

std::optional<std::int32_t> BitReader::se() {
  const auto number = ue();
  if (!number) return std::nullopt;
  const auto half = static_cast<std::int32_t>((*number >> 1) + (*number & 1U));
  return *number % 2 == 0 ? -half : half;
}

void BitWriter::bits(std::uint32_t value, unsigned count) {
  pending_ = pending_ << count | (value & ((std::uint64_t{1} << count) - 1));
  pendingCount_ += count;
  while (pendingCount_ >= 8) {
    pendingCount_ -= 8;
    bytes_.push_back(static_cast<std::byte>(pending_ >> pendingCount_ & 0xffU));
  }
}

void BitWriter::ue(std::uint32_t value) {
  const auto width = static_cast<unsigned>(std::bit_width(value + 1));
  bits(0, width - 1);
  bits(value + 1, width);
}

void BitWriter::se(std::int32_t value) {
  ue(value > 0 ? static_cast<std::uint32_t>(value) * 2 - 1
               : static_cast<std::uint32_t>(-value) * 2);
}

void BitWriter::copy(ByteView bytes, std::size_t from, std::size_t to) {
  BitReader reader(bytes);
  reader.skipTo(from);
  constexpr std::size_t atOnce = 32;
  while (from < to) {
    const auto count = static_cast<unsigned>(std::min(to - from, atOnce));
    const auto some = reader.bits(count);
    if (!some) return;
    bits(*some, count);
    from += count;
  }
}

Bytes BitWriter::finished() {
  bits(1, 1);
  bits(0, (8 - pendingCount_) % 8);
  pending_ = 0;
  return std::exchange(bytes_, {});
}

}  // namespace vesk::picture::h264
