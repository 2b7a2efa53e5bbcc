#include "link/Frame.h"

#include <limits>

#include "platform/Fatal.h"

namespace vesk {
namespace {

/// Shifts instead of a copy of the number: the same bytes on every processor.
void appendLittleEndian(Bytes& bytes, std::uint32_t value) {
  for (int shift = 0; shift < 32; shift += 8) {
    bytes.push_back(static_cast<std::byte>(value >> shift));
  }
}

std::uint32_t readLittleEndian(std::span<const std::byte, 4> bytes) {
  std::uint32_t value = 0;
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    value |= std::to_integer<std::uint32_t>(bytes[i]) << (8 * i);
  }
  return value;
}

bool readExactly(const ReadSome& readSome, std::span<std::byte> buffer) {
  while (!buffer.empty()) {
    const std::ptrdiff_t count = readSome(buffer);
    if (count <= 0) return false;
    buffer = buffer.subspan(static_cast<std::size_t>(count));
  }
  return true;
}

}  // namespace

std::optional<FrameKind> frameKind(std::uint8_t rawValue) {
  if (rawValue < 1 || rawValue > 3) return std::nullopt;
  return static_cast<FrameKind>(rawValue);
}

Bytes frameBytes(FrameKind kind, ByteView payload) {
  if (payload.size() > std::numeric_limits<std::uint32_t>::max()) {
    fatal("a frame's payload does not fit its 32-bit length");
  }
  Bytes frame;
  frame.reserve(frameHeaderSize + payload.size());
  frame.push_back(static_cast<std::byte>(kind));
  appendLittleEndian(frame, static_cast<std::uint32_t>(payload.size()));
  frame.insert(frame.end(), payload.begin(), payload.end());
  return frame;
}

Bytes videoPayload(ByteView accessUnit, Ticks duration) {
  Bytes payload;
  payload.reserve(sizeof duration + accessUnit.size());
  appendLittleEndian(payload, static_cast<std::uint32_t>(duration));
  payload.insert(payload.end(), accessUnit.begin(), accessUnit.end());
  return payload;
}

std::optional<Frame> readFrame(const ReadSome& readSome) {
  std::array<std::byte, frameHeaderSize> header{};
  if (!readExactly(readSome, header)) return std::nullopt;
  const std::uint32_t length = readLittleEndian(std::span(header).subspan<1, 4>());
  if (length > maxPayloadSize) return std::nullopt;

  Frame frame{std::to_integer<std::uint8_t>(header[0]), Bytes(length)};
  if (!readExactly(readSome, frame.payload)) return std::nullopt;
  return frame;
}

}  // namespace vesk
