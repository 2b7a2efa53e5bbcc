#include "agent/FrameCheck.h"

#include <algorithm>
#include <array>
#include <string_view>

#include "link/Message.h"

namespace vesk::agent {
namespace {

constexpr std::size_t durationSize = 4;
constexpr std::array startCode{std::byte{0}, std::byte{0}, std::byte{0}, std::byte{1}};

/// JSON has line ends only between its tokens (inside a string they are escaped), so a blank says
/// the same and keeps the message on one line.
std::string onOneLine(ByteView text) {
  std::string line;
  for (const std::byte byte : text) {
    const char c = static_cast<char>(byte);
    line.push_back(c == '\n' || c == '\r' ? ' ' : c);
  }
  return line;
}

CheckedFrame checkControl(ByteView payload) {
  const auto message = Message::parse(payload);
  if (!message) return ProtocolError{"control payload is not a JSON object: " + excerpt(payload)};
  auto op = message->string("op");
  if (!op) return ProtocolError{"control message without a string \"op\": " + excerpt(payload)};
  return ControlMessage{std::move(*op), onOneLine(payload)};
}

CheckedFrame checkVideo(ByteView payload) {
  if (payload.size() < durationSize) {
    return ProtocolError{"video payload of " + std::to_string(payload.size()) +
                         " bytes has no room for its duration"};
  }
  std::uint32_t ticks = 0;
  for (std::size_t i = 0; i < durationSize; ++i) {
    ticks |= std::to_integer<std::uint32_t>(payload[i]) << (8 * i);
  }
  const AccessUnit unit{Ticks{ticks}, payload.subspan(durationSize)};
  const bool begins = unit.bytes.size() >= startCode.size() &&
                      std::equal(startCode.begin(), startCode.end(), unit.bytes.begin());
  if (begins) return unit;
  return ProtocolError{"access unit does not begin with 00 00 00 01: " +
                           excerpt(unit.bytes.first(std::min<std::size_t>(8, unit.bytes.size()))),
                       unit};
}

}  // namespace

CheckedFrame checkFrame(const Frame& frame) {
  const auto kind = frameKind(frame.kind);
  if (kind == FrameKind::control) return checkControl(frame.payload);
  if (kind == FrameKind::video) return checkVideo(frame.payload);
  return ProtocolError{"frame of kind " + std::to_string(frame.kind) + " (" +
                       std::to_string(frame.payload.size()) + " bytes); the program sends 1 and 3"};
}

std::string excerpt(ByteView text) {
  constexpr std::size_t limit = 80;
  constexpr std::string_view digits = "0123456789abcdef";
  std::string result;
  for (const std::byte byte : text.first(std::min(limit, text.size()))) {
    const auto value = std::to_integer<unsigned char>(byte);
    if (value >= 0x20 && value < 0x7f) {
      result.push_back(static_cast<char>(value));
    } else {
      result += {'\\', 'x', digits[value >> 4], digits[value & 15]};
    }
  }
  if (text.size() > limit) result += "...";
  return result.empty() ? "(empty)" : result;
}

}  // namespace vesk::agent
