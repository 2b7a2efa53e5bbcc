#include "agent/server/PageMessage.h"

#include <nlohmann/json.hpp>

#include "agent/Command.h"
#include "link/Message.h"

namespace vesk::agent::pageMessage {

std::variant<Frame, Malformed> parseFrame(ByteView message) {
  if (message.empty()) return Malformed{"The page sent an empty message."};
  if (message.size() > maxSize) return Malformed{"The page sent a message that is too long."};
  const auto rawKind = std::to_integer<std::uint8_t>(message.front());
  const auto kind = frameKind(rawKind);
  if (kind != FrameKind::control && kind != FrameKind::input) {
    return Malformed{"The page sent a frame of a kind that no page may send."};
  }
  const ByteView payload = message.subspan(1);
  if (!Message::parse(payload)) {
    return Malformed{"The page sent a frame that holds no JSON object."};
  }
  return Frame{rawKind, Bytes(payload.begin(), payload.end())};
}

std::optional<std::string> parseKey(ByteView message) {
  const auto object = Message::parse(message);
  return object ? object->string("key") : std::nullopt;
}

std::optional<std::string> opOf(const Frame& frame) {
  if (frameKind(frame.kind) != FrameKind::control) return std::nullopt;
  const auto message = Message::parse(frame.payload);
  return message ? message->string("op") : std::nullopt;
}

Frame frameOf(FrameKind kind, std::string_view text) {
  const auto bytes = bytesOf(text);
  return {static_cast<std::uint8_t>(kind), Bytes(bytes.begin(), bytes.end())};
}

Bytes ofFrame(const Frame& frame) {
  Bytes message;
  message.reserve(1 + frame.payload.size());
  message.push_back(static_cast<std::byte>(frame.kind));
  message.insert(message.end(), frame.payload.begin(), frame.payload.end());
  return message;
}

std::string ofProgram(bool isConnected) {
  return isConnected ? R"({"program":"connected"})" : R"({"program":"gone"})";
}

std::string ofNote(std::string_view text) {
  return nlohmann::json{{"note", text}}.dump(-1, ' ', false,
                                             nlohmann::json::error_handler_t::replace);
}

std::string ofDropped(std::uint64_t units) { return nlohmann::json{{"dropped", units}}.dump(); }

}  // namespace vesk::agent::pageMessage
