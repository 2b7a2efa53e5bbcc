#pragma once

#include <concepts>
#include <cstdint>
#include <memory>
#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <string>
#include <string_view>

#include "link/Frame.h"

namespace vesk {

/// A JSON object (RFC 8259) whose members are read by type.
///
/// Thread: any; a message is never changed once it was handed on. Owns: its JSON, shared by copies.
/// Fails: never; a member that is absent and one that does not convert look the same.
///
/// The conversions are those of the Mac's numbers: 25.0 is the integer 25, true and false are the
/// numbers 1 and 0, and the numbers 0 and 1 are Booleans. A string is never anything else.
class Message {
 public:
  /// The object in `text`; nothing when it is not well-formed UTF-8 JSON or not an object.
  static std::optional<Message> parse(ByteView text);

  /// A message to send, with its "op".
  explicit Message(std::string_view op);

  /// The same message with one more member.
  Message with(std::string_view key, std::string_view value) const;
  Message with(std::string_view key, std::same_as<bool> auto value) const {
    return withBoolean(key, value);
  }
  template <std::integral Integer>
  requires(!std::same_as<Integer, bool>) Message with(std::string_view key, Integer value)
  const { return withInteger(key, static_cast<std::int64_t>(value)); }

  std::optional<std::string> string(std::string_view key) const;
  std::optional<std::int64_t> integer(std::string_view key) const;
  std::optional<double> number(std::string_view key) const;
  std::optional<bool> boolean(std::string_view key) const;
  std::optional<Message> object(std::string_view key) const;

  /// Compact UTF-8 text; nothing when a string in it is not well-formed UTF-8.
  std::optional<std::string> serialise() const;

 private:
  using Json = std::shared_ptr<const nlohmann::json>;

  explicit Message(Json json) : json_(std::move(json)) {}

  Message withBoolean(std::string_view key, bool value) const;
  Message withInteger(std::string_view key, std::int64_t value) const;
  const nlohmann::json* member(std::string_view key) const;

  Json json_;
};

}  // namespace vesk
