#include "presence/ViewerName.h"

#include <unictype.h>
#include <unigbrk.h>
#include <unistr.h>

#include <algorithm>
#include <array>
#include <vector>

namespace vesk {
namespace {

constexpr std::string_view fallbackName = "Vesk support";
// U+2068 and U+2069, byte by byte: an unpaired one in a literal would turn this very text.
constexpr std::array firstStrongIsolate{'\xe2', '\x81', '\xa8'};
constexpr std::array popDirectionalIsolate{'\xe2', '\x81', '\xa9'};

struct CharacterRange {
  char32_t first;
  char32_t last;
};

template <std::size_t count>
bool isIn(const std::array<CharacterRange, count>& ranges, char32_t character) {
  return std::ranges::any_of(ranges, [&](const CharacterRange& range) {
    return range.first <= character && character <= range.last;
  });
}

/// The control characters of ASCII and Latin-1, and the line and paragraph separators.
constexpr std::array<CharacterRange, 3> controls{
    {{0x0000, 0x001f}, {0x007f, 0x009f}, {0x2028, 0x2029}}};

/// Marks, embeddings, overrides and isolates of the bidirectional algorithm.
constexpr std::array<CharacterRange, 4> directionMarks{
    {{0x061c, 0x061c}, {0x200e, 0x200f}, {0x202a, 0x202e}, {0x2066, 0x2069}}};

/// The blocks of the scripts that are written from right to left.
constexpr std::array<CharacterRange, 5> rightToLeft{
    {{0x0590, 0x08ff}, {0xfb1d, 0xfdff}, {0xfe70, 0xfeff}, {0x10800, 0x10fff}, {0x1e800, 0x1efff}}};

/// How many bytes the character takes that begins with `lead`. A byte that begins no character
/// counts as one, so that malformed text is walked through and passed on as it is.
std::size_t lengthOfCharacter(unsigned char lead) {
  if (lead >= 0xf0 && lead <= 0xf7) return 4;
  if (lead >= 0xe0) return lead <= 0xef ? 3 : 1;
  return lead >= 0xc0 ? 2 : 1;
}

char32_t codePoint(std::string_view character) {
  const auto lead = static_cast<unsigned char>(character.front());
  if (character.size() != lengthOfCharacter(lead)) return 0xfffd;
  if (character.size() == 1) return lead < 0x80 ? lead : 0xfffd;
  char32_t value = lead & (0xffU >> (character.size() + 1));
  for (const char byte : character.substr(1)) {
    value = (value << 6U) | (static_cast<unsigned char>(byte) & 0x3fU);
  }
  return value;
}

/// Whether a person sees anything of it: ink, or a box in the place of a missing letter.
bool isSeen(char32_t character) {
  constexpr char32_t emptyBraillePattern = 0x2800;
  return !isIn(controls, character) && character != emptyBraillePattern &&
         !uc_is_property_white_space(character) &&
         !uc_is_property_default_ignorable_code_point(character) &&
         !uc_is_general_category_withtable(character, UC_CATEGORY_MASK_Cf);
}

/// Malformed text, where characters have no ends, is cut by bytes.
std::string_view firstCharacters(std::string_view text) {
  const auto* bytes = reinterpret_cast<const unsigned char*>(text.data());
  if (u8_check(bytes, text.size()) != nullptr) return text.substr(0, maxNameCharacters);
  std::vector<char> startsCharacter(text.size());
  u8_grapheme_breaks(bytes, text.size(), startsCharacter.data());
  std::size_t characters = 0;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (startsCharacter[i] != 0 && ++characters > maxNameCharacters) return text.substr(0, i);
  }
  return text;
}

/// A name in one line, and what is to be known of it.
struct Line {
  std::string text;
  bool seen = false;
  bool rightToLeft = false;
};

Line lineOf(std::string_view name) {
  Line line;
  while (!name.empty()) {
    const auto character = name.substr(0, lengthOfCharacter(static_cast<unsigned char>(name[0])));
    name.remove_prefix(character.size());
    const char32_t value = codePoint(character);
    if (isIn(directionMarks, value)) continue;
    line.seen = line.seen || isSeen(value);
    line.rightToLeft = line.rightToLeft || isIn(rightToLeft, value);
    line.text += isIn(controls, value) ? std::string_view(" ") : character;
  }
  return line;
}

}  // namespace

std::string_view withinNameBounds(std::string_view name) {
  if (name.size() <= maxNameBytes) return name;
  const auto continues = [&](std::size_t i) {
    return (static_cast<unsigned char>(name[i]) & 0xc0U) == 0x80U;
  };
  std::size_t end = maxNameBytes;
  while (end > 0 && continues(end)) --end;
  return name.substr(0, end);
}

std::string viewerNameForDisplay(std::string_view name) {
  const Line whole = lineOf(withinNameBounds(name));
  const Line line = lineOf(firstCharacters(whole.text));
  if (!line.seen) return std::string(fallbackName);
  if (!line.rightToLeft) return line.text;
  std::string isolated(firstStrongIsolate.begin(), firstStrongIsolate.end());
  isolated += line.text;
  isolated.append(popDirectionalIsolate.begin(), popDirectionalIsolate.end());
  return isolated;
}

}  // namespace vesk
