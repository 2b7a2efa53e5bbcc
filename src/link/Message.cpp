#include "link/Message.h"

#include <algorithm>
#include <cmath>
#include <nlohmann/json.hpp>

namespace vesk {
namespace {

using nlohmann::json;

/// The integer that a floating-point number is, if it is one. The limits are the powers of two next
/// to those of the type: these are exact as floating-point numbers, 2^63 - 1 is not.
std::optional<std::int64_t> integral(double value) {
  constexpr double limit = 9223372036854775808.0;  // 2^63
  if (!(value >= -limit && value < limit) || std::trunc(value) != value) return std::nullopt;
  return static_cast<std::int64_t>(value);
}

std::optional<std::int64_t> integerValue(const json& value) {
  switch (value.type()) {
    case json::value_t::boolean:
      return value.get<bool>() ? 1 : 0;
    case json::value_t::number_integer:
      return value.get<std::int64_t>();
    case json::value_t::number_unsigned:
      if (value.get<std::uint64_t>() > std::uint64_t{INT64_MAX}) return std::nullopt;
      return value.get<std::int64_t>();
    case json::value_t::number_float:
      return integral(value.get<double>());
    default:
      return std::nullopt;
  }
}

/// A tree of everything in a message could take twenty times its bytes. No member is read that lies
/// deeper than in an object of the message, none out of an array, and no request has so many.
class WorthKeeping {
 public:
  bool operator()(int depth, json::parse_event_t event, const json& /*parsed*/) {
    constexpr int deepest = 2;
    constexpr int mostMembers = 256;
    switch (event) {
      case json::parse_event_t::array_start:
        return false;
      case json::parse_event_t::object_start:
        return depth < deepest;
      case json::parse_event_t::key:
        return depth <= deepest && ++members_ <= mostMembers;
      default:
        return true;
    }
  }

 private:
  int members_ = 0;
};

/// A value that was not kept leaves its key behind, and nothing that could be written. No deeper
/// than what was kept.
void removeWhatWasNotKept(json& object) {
  for (auto member = object.begin(); member != object.end();) {
    if (member->is_discarded()) {
      member = object.erase(member);
      continue;
    }
    if (member->is_object()) removeWhatWasNotKept(*member);
    ++member;
  }
}

template <typename Value>
std::shared_ptr<const json> withMember(const json& object, std::string_view key, Value value) {
  auto copy = std::make_shared<json>(object);
  (*copy)[std::string(key)] = value;
  return copy;
}

}  // namespace

// A message from outside may nest as deep as its frame is long, and copying a json value walks down
// that depth: it could run out of stack. So what came from outside is never copied. Messages share
// the parsed tree, and an inner object is a pointer into it that keeps the whole tree alive.

std::optional<Message> Message::parse(ByteView text) {
  // JSON has no place for a zero byte, but the parser takes one for the end of its input.
  if (std::ranges::find(text, std::byte{0}) != text.end()) return std::nullopt;
  const auto* first = reinterpret_cast<const char*>(text.data());
  auto parsed = std::make_shared<json>(
      json::parse(first, first + text.size(), WorthKeeping(), /*allow_exceptions=*/false));
  if (!parsed->is_object()) return std::nullopt;
  removeWhatWasNotKept(*parsed);
  return Message(Json(std::move(parsed)));
}

Message::Message(std::string_view op) : json_(std::make_shared<json>(json{{"op", op}})) {}

Message Message::with(std::string_view key, std::string_view value) const {
  return Message(withMember(*json_, key, value));
}

Message Message::withBoolean(std::string_view key, bool value) const {
  return Message(withMember(*json_, key, value));
}

Message Message::withInteger(std::string_view key, std::int64_t value) const {
  return Message(withMember(*json_, key, value));
}

std::optional<std::string> Message::string(std::string_view key) const {
  const json* value = member(key);
  if (value == nullptr || !value->is_string()) return std::nullopt;
  return value->get<std::string>();
}

std::optional<std::int64_t> Message::integer(std::string_view key) const {
  const json* value = member(key);
  return value == nullptr ? std::nullopt : integerValue(*value);
}

std::optional<double> Message::number(std::string_view key) const {
  const json* value = member(key);
  if (value == nullptr) return std::nullopt;
  if (value->is_boolean()) return value->get<bool>() ? 1.0 : 0.0;
  return value->is_number() ? std::optional(value->get<double>()) : std::nullopt;
}

std::optional<bool> Message::boolean(std::string_view key) const {
  const auto value = integer(key);
  if (!value || *value < 0 || *value > 1) return std::nullopt;
  return *value == 1;
}

std::optional<Message> Message::object(std::string_view key) const {
  const json* value = member(key);
  if (value == nullptr || !value->is_object()) return std::nullopt;
  return Message(Json(json_, value));
}

std::optional<std::string> Message::serialise() const try {
  return json_->dump();
} catch (const json::type_error&) {
  return std::nullopt;
}

const json* Message::member(std::string_view key) const {
  const auto found = json_->find(key);
  return found == json_->end() ? nullptr : &*found;
}

}  // namespace vesk
