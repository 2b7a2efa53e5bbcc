#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <vector>

namespace vesk {

using Bytes = std::vector<std::byte>;
using ByteView = std::span<const std::byte>;

/// What a frame carries. `control` goes both ways, `input` to the program, `video` to the agent.
enum class FrameKind : std::uint8_t { control = 1, input, video };

/// The kind with that raw value; nothing for every byte that names none.
std::optional<FrameKind> frameKind(std::uint8_t rawValue);

/// A frame as it was read. `kind` is the raw byte, since unknown kinds must be read to stay in
/// step.
struct Frame {
  std::uint8_t kind = 0;
  Bytes payload;
};

/// Ticks of a 90 kHz clock.
enum class Ticks : std::uint32_t {};

/// On the wire a frame is one kind byte, the number of payload bytes as four bytes, least
/// significant first, and the payload. The five header bytes are not counted.
inline constexpr std::size_t frameHeaderSize = 5;

/// The reader takes a longer payload for a broken stream.
inline constexpr std::uint32_t maxPayloadSize = 1'048'576;

/// The bytes of a whole frame. A payload of 4 GiB or more is a programming error.
Bytes frameBytes(FrameKind kind, ByteView payload);

/// The payload of a video frame: the duration as four bytes, least significant first, then the
/// access unit.
Bytes videoPayload(ByteView accessUnit, Ticks duration);

/// Reads some bytes into the buffer: how many, 0 at the end of the stream, negative on an error.
using ReadSome = std::function<std::ptrdiff_t(std::span<std::byte>)>;

/// Reads one whole frame, however the stream cuts it. Nothing when the stream ends or fails before
/// the frame is complete, or when the frame announces more than `maxPayloadSize` bytes.
std::optional<Frame> readFrame(const ReadSome& readSome);

}  // namespace vesk
