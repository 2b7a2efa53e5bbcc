#include "input/TextRuns.h"

#include <algorithm>

#include "text/CharacterStarts.h"
#include "text/firstCodePoint.h"

namespace vesk {
namespace {

void append(std::u16string& units, char32_t codePoint) {
  if (codePoint < 0x10000) {
    units += static_cast<char16_t>(codePoint);
    return;
  }
  units += static_cast<char16_t>(0xD800 + ((codePoint - 0x10000) >> 10));
  units += static_cast<char16_t>(0xDC00 + ((codePoint - 0x10000) & 0x3FF));
}

/// The whole characters within the limits. What lies beyond them is not even looked at.
std::u16string typedUnits(std::string_view utf8) {
  std::u16string units;
  CharacterStarts starts;
  std::size_t characters = 0;
  std::size_t lastStart = 0;
  while (const auto first = firstCodePoint(utf8)) {
    if (starts.startsCharacter(first->value)) {
      lastStart = units.size();
      if (++characters > maxTextCharacters) break;
    }
    append(units, first->value);
    if (units.size() > maxTextUnits) {
      units.resize(lastStart);
      break;
    }
    utf8.remove_prefix(first->length);
  }
  return units;
}

}  // namespace

std::vector<std::u16string> textRuns(std::string_view utf8) {
  const std::u16string units = typedUnits(utf8);
  std::vector<std::u16string> runs;
  for (std::size_t i = 0; i < units.size(); i += maxRunLength)
    runs.push_back(units.substr(i, maxRunLength));
  return runs;
}

}  // namespace vesk
