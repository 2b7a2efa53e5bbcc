#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <variant>

#include "link/Frame.h"

/// The messages between a page and the agent: a frame is its kind byte and its payload, everything
/// else is JSON as text.
namespace vesk::agent::pageMessage {

/// Far beyond any request or input message of a person.
inline constexpr std::size_t maxPayload = std::size_t{64} * 1024;
inline constexpr std::size_t maxSize = maxPayload + 1;

/// Why a page's message is refused, as a sentence for the person.
struct Malformed {
  std::string text;
};

/// The frame in a page's message: control or input, with a JSON object in it.
std::variant<Frame, Malformed> parseFrame(ByteView message);

/// The key in a page's first message; nothing when it is no such message.
std::optional<std::string> parseKey(ByteView message);

/// The name of a control message; nothing for what is none.
std::optional<std::string> opOf(const Frame& frame);

/// A frame that holds a text.
Frame frameOf(FrameKind kind, std::string_view text);

Bytes ofFrame(const Frame& frame);

std::string ofProgram(bool isConnected);
std::string ofNote(std::string_view text);
std::string ofDropped(std::uint64_t units);

}  // namespace vesk::agent::pageMessage
