#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace vesk::picture::h264 {

using Bytes = std::vector<std::byte>;
using ByteView = std::span<const std::byte>;

/// Reads the bits of a raw byte sequence, most significant first. Nothing past the end, and from
/// then on.
class BitReader {
 public:
  explicit BitReader(ByteView bytes) : bytes_(bytes) {}

  /// The next `count` bits as a number, at most 32.
  std::optional<std::uint32_t> bits(unsigned count);

  /// An unsigned Exp-Golomb number.
  std::optional<std::uint32_t> ue();

  /// How many bits were read.
  std::size_t position() const { return position_; }

 private:
  ByteView bytes_;
  std::size_t position_ = 0;
};

/// Collects bits, most significant first.
class BitWriter {
 public:
  void bits(std::uint32_t value, unsigned count);
  void ue(std::uint32_t value);

  /// A signed Exp-Golomb number.
  void se(std::int32_t value);

  /// Ends the sequence with its stop bit and zeros up to the next whole byte.
  Bytes finished();

 private:
  Bytes bytes_;
  unsigned used_ = 0;  ///< bits in the last byte
};

}  // namespace vesk::picture::h264
