#pragma once

#include <cstddef>
#include <optional>
#include <string_view>

namespace vesk {

struct CodePoint {
  char32_t value = 0;
  std::size_t length = 0;  ///< bytes of UTF-8
};

/// What the text begins with; nothing for an empty one and where it is not well-formed UTF-8: cut
/// off, longer than it need be, half of a surrogate pair, or above U+10FFFF.
std::optional<CodePoint> firstCodePoint(std::string_view utf8);

bool isWellFormed(std::string_view utf8);

}  // namespace vesk
