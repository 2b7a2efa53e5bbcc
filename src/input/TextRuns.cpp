#include "input/TextRuns.h"

#include <unigbrk.h>
#include <unistr.h>

#include <algorithm>

namespace vesk {
namespace {

const std::uint8_t* bytesOf(std::string_view utf8) {
  return reinterpret_cast<const std::uint8_t*>(utf8.data());
}

/// The units that the code point takes whose first byte in UTF-8 this is; none for a later byte.
std::size_t unitsOf(char byte) {
  const auto value = static_cast<unsigned char>(byte);
  const bool continues = (value & 0xC0U) == 0x80U;
  if (continues) return 0;
  return value >= 0xF0U ? 2 : 1;
}

/// The whole characters within the limits. What lies far beyond them is not even looked at.
std::string_view typedPart(std::string_view utf8) {
  constexpr std::size_t mostBytesOfAUnit = 3;
  utf8 = utf8.substr(0, (maxTextUnits + 2) * mostBytesOfAUnit);
  std::vector<char> startsCharacter(utf8.size());
  u8_grapheme_breaks(bytesOf(utf8), utf8.size(), startsCharacter.data());
  std::size_t characters = 0;
  std::size_t units = 0;
  std::size_t lastStart = 0;
  for (std::size_t i = 0; i < utf8.size(); ++i) {
    if (startsCharacter[i] != 0) {
      lastStart = i;
      if (++characters > maxTextCharacters) return utf8.substr(0, i);
    }
    units += unitsOf(utf8[i]);
    if (units > maxTextUnits) return utf8.substr(0, lastStart);
  }
  return utf8;
}

void append(std::u16string& units, char32_t codePoint) {
  if (codePoint < 0x10000) {
    units += static_cast<char16_t>(codePoint);
    return;
  }
  units += static_cast<char16_t>(0xD800 + ((codePoint - 0x10000) >> 10));
  units += static_cast<char16_t>(0xDC00 + ((codePoint - 0x10000) & 0x3FF));
}

std::u16string utf16(std::string_view utf8) {
  std::u16string units;
  units.reserve(utf8.size());
  for (std::size_t i = 0; i < utf8.size();) {
    ucs4_t codePoint = 0;
    const int length = u8_mbtoucr(&codePoint, bytesOf(utf8) + i, utf8.size() - i);
    if (length <= 0) break;
    append(units, codePoint);
    i += static_cast<std::size_t>(length);
  }
  return units;
}

}  // namespace

std::vector<std::u16string> textRuns(std::string_view utf8) {
  const std::u16string units = utf16(typedPart(utf8));
  std::vector<std::u16string> runs;
  for (std::size_t i = 0; i < units.size(); i += maxRunLength)
    runs.push_back(units.substr(i, maxRunLength));
  return runs;
}

}  // namespace vesk
