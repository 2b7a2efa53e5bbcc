#include "agent/server/HeldInput.h"

#include <nlohmann/json.hpp>
#include <string>

#include "link/Message.h"

namespace vesk::agent {
namespace {

Frame inputFrame(const nlohmann::json& message) {
  const std::string text = message.dump();
  const auto bytes = std::as_bytes(std::span(text));
  return {static_cast<std::uint8_t>(FrameKind::input), Bytes(bytes.begin(), bytes.end())};
}

template <typename Value>
void keepUp(std::set<Value>& held, const Value& value, bool isPressed) {
  if (!isPressed) held.erase(value);
  if (isPressed && held.size() < HeldInput::limit) held.insert(value);
}

}  // namespace

void HeldInput::sent(const Frame& frame) {
  if (frameKind(frame.kind) != FrameKind::input) return;
  const auto message = Message::parse(frame.payload);
  if (!message) return;
  const auto type = message->string("t");
  const auto event = message->string("e");
  if (const auto mask = message->integer("m")) hasModifiers_ = *mask != 0;
  if (type == "k") {
    const auto code = message->integer("c");
    const bool isExtended = message->boolean("x").value_or(false);
    if (code) keepUp(keys_, std::pair(*code, isExtended), event == "down");
  } else if (type == "m") {
    x_ = message->number("x").value_or(x_);
    y_ = message->number("y").value_or(y_);
    const bool isButton = event == "down" || event == "up";
    if (isButton) keepUp(buttons_, message->integer("b").value_or(0), event == "down");
  }
}

std::vector<Frame> HeldInput::takeReleases() {
  std::vector<Frame> frames;
  for (const auto button : buttons_) {
    frames.push_back(inputFrame({{"t", "m"}, {"e", "up"}, {"x", x_}, {"y", y_}, {"b", button}}));
  }
  for (const auto& [code, isExtended] : keys_) {
    frames.push_back(inputFrame({{"t", "k"}, {"c", code}, {"e", "up"}, {"x", isExtended}}));
  }
  if (hasModifiers_ || !frames.empty()) {
    frames.push_back(inputFrame({{"t", "m"}, {"e", "move"}, {"x", x_}, {"y", y_}, {"m", 0}}));
  }
  clear();
  return frames;
}

}  // namespace vesk::agent
