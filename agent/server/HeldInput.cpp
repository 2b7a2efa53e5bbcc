#include "agent/server/HeldInput.h"

#include <nlohmann/json.hpp>

#include "agent/server/PageMessage.h"
#include "link/Message.h"

namespace vesk::agent {
namespace {

Frame inputFrame(const nlohmann::json& message) {
  return pageMessage::frameOf(FrameKind::input, message.dump());
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
    const auto x = message->number("x");
    const auto y = message->number("y");
    if (x && y) pointer_ = Place{.x = *x, .y = *y};
    const bool isButton = event == "down" || event == "up";
    if (isButton) keepUp(buttons_, message->integer("b").value_or(0), event == "down");
  }
}

/// The modifiers are told as released with each key; only without one it takes a message more.
std::vector<Frame> HeldInput::takeReleases() {
  std::vector<Frame> frames;
  const Place place = pointer_.value_or(Place());
  for (const auto button : buttons_) {
    frames.push_back(
        inputFrame({{"t", "m"}, {"e", "up"}, {"x", place.x}, {"y", place.y}, {"b", button}}));
  }
  if (keys_.empty() && hasModifiers_) frames.push_back(modifierRelease());
  for (const auto& [code, isExtended] : keys_) {
    frames.push_back(
        inputFrame({{"t", "k"}, {"c", code}, {"e", "up"}, {"x", isExtended}, {"m", 0}}));
  }
  clear();
  return frames;
}

/// Without a place to point at, a key stands in that is among the modifiers itself.
Frame HeldInput::modifierRelease() const {
  if (pointer_) {
    return inputFrame(
        {{"t", "m"}, {"e", "move"}, {"x", pointer_->x}, {"y", pointer_->y}, {"m", 0}});
  }
  constexpr int shift = 0x10;
  return inputFrame({{"t", "k"}, {"c", shift}, {"e", "up"}, {"x", false}, {"m", 0}});
}

}  // namespace vesk::agent
