#include "text/firstCodePoint.h"

#include <array>

namespace vesk {
namespace {

struct FirstByte {
  unsigned char mask;  ///< the bits that tell how many bytes there are
  unsigned char mark;  ///< what they say
  char32_t smallest;   ///< below it fewer bytes would do
};

/// By length, less one.
constexpr std::array<FirstByte, 4> firstBytes{
    {{0x80, 0x00, 0}, {0xe0, 0xc0, 0x80}, {0xf0, 0xe0, 0x800}, {0xf8, 0xf0, 0x10000}}};

bool isScalar(char32_t value) {
  const bool isSurrogate = 0xd800 <= value && value <= 0xdfff;
  return value <= 0x10ffff && !isSurrogate;
}

std::optional<CodePoint> codePointOf(std::string_view bytes, const FirstByte& kind) {
  auto value = char32_t{static_cast<unsigned char>(bytes.front())} & ~char32_t{kind.mask};
  for (const char each : bytes.substr(1)) {
    const auto byte = static_cast<unsigned char>(each);
    if ((byte & 0xc0U) != 0x80U) return std::nullopt;
    value = value << 6U | (byte & 0x3fU);
  }
  if (value < kind.smallest || !isScalar(value)) return std::nullopt;
  return CodePoint{value, bytes.size()};
}

}  // namespace

std::optional<CodePoint> firstCodePoint(std::string_view utf8) {
  if (utf8.empty()) return std::nullopt;
  const auto first = static_cast<unsigned char>(utf8.front());
  for (std::size_t length = 1; length <= firstBytes.size(); ++length) {
    const FirstByte& kind = firstBytes[length - 1];
    if ((first & kind.mask) != kind.mark) continue;
    if (utf8.size() < length) return std::nullopt;
    return codePointOf(utf8.substr(0, length), kind);
  }
  return std::nullopt;
}

bool isWellFormed(std::string_view utf8) {
  while (const auto first = firstCodePoint(utf8)) utf8.remove_prefix(first->length);
  return utf8.empty();
}

}  // namespace vesk
