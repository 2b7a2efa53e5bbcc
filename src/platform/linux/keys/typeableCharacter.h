#pragma once

#include <optional>

namespace vesk::keys {

/// What a key types for a character of a text: line breaks are Return's. Nothing for the control
/// characters that no keyboard has. Thread: any.
std::optional<char32_t> typeableCharacter(char32_t character);

}  // namespace vesk::keys
