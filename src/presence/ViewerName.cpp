#include "presence/ViewerName.h"

#include <array>

#include "text/CharacterRange.h"
#include "text/CharacterStarts.h"
#include "text/characterTables.h"
#include "text/firstCodePoint.h"

namespace vesk {
namespace {

constexpr std::string_view fallbackName = "Vesk support";
// U+2068 and U+2069, byte by byte: an unpaired one in a literal would turn this very text.
constexpr std::array firstStrongIsolate{'\xe2', '\x81', '\xa8'};
constexpr std::array popDirectionalIsolate{'\xe2', '\x81', '\xa9'};

/// The control characters of ASCII and Latin-1, and the line and paragraph separators.
constexpr std::array<CharacterRange, 3> controls{
    {{0x0000, 0x001f}, {0x007f, 0x009f}, {0x2028, 0x2029}}};

/// Marks, embeddings, overrides and isolates of the bidirectional algorithm.
constexpr std::array<CharacterRange, 4> directionMarks{
    {{0x061c, 0x061c}, {0x200e, 0x200f}, {0x202a, 0x202e}, {0x2066, 0x2069}}};

/// The blocks of the scripts that are written from right to left.
constexpr std::array<CharacterRange, 5> rightToLeft{
    {{0x0590, 0x08ff}, {0xfb1d, 0xfdff}, {0xfe70, 0xfeff}, {0x10800, 0x10fff}, {0x1e800, 0x1efff}}};

struct Character {
  char32_t value;
  std::string_view bytes;
};

/// A byte that begins no character counts as one, so that malformed text is walked through and
/// passed on as it is, and hides nothing that follows it.
Character firstCharacter(std::string_view text) {
  constexpr char32_t replacement = 0xfffd;
  const CodePoint first = firstCodePoint(text).value_or(CodePoint{replacement, 1});
  return {first.value, text.substr(0, first.length)};
}

/// Whether a person sees anything of it: ink, or a box in the place of a missing letter. A mark
/// needs something to stand on.
bool isSeen(char32_t character) {
  constexpr char32_t emptyBraillePattern = 0x2800;
  constexpr char32_t placeOfAnObject = 0xfffc;
  return !isIn(controls, character) && character != emptyBraillePattern &&
         character != placeOfAnObject && !isIn(characterTables::whiteSpace, character) &&
         !isIn(characterTables::defaultIgnorable, character) &&
         !isIn(characterTables::format, character);
}

/// Whether a mark is seen after it: it takes room, if only as a space.
bool carriesMarks(char32_t character) {
  return !isIn(characterTables::extend, character) &&
         (isSeen(character) || isIn(controls, character) ||
          isIn(characterTables::whiteSpace, character));
}

/// Malformed text, where characters have no ends, is cut by bytes.
std::string_view firstCharacters(std::string_view text) {
  if (!isWellFormed(text)) return text.substr(0, maxNameCharacters);
  CharacterStarts starts;
  std::size_t characters = 0;
  std::string_view rest = text;
  while (const auto first = firstCodePoint(rest)) {
    if (starts.startsCharacter(first->value) && ++characters > maxNameCharacters) break;
    rest.remove_prefix(first->length);
  }
  return text.substr(0, text.size() - rest.size());
}

/// A name in one line, and what is to be known of it.
struct Line {
  std::string text;
  bool seen = false;
  bool rightToLeft = false;
};

Line lineOf(std::string_view name) {
  Line line;
  bool afterRoom = false;
  while (!name.empty()) {
    const auto [value, bytes] = firstCharacter(name);
    name.remove_prefix(bytes.size());
    if (isIn(directionMarks, value)) continue;
    afterRoom = afterRoom || carriesMarks(value);
    line.seen = line.seen || (afterRoom && isSeen(value));
    line.rightToLeft = line.rightToLeft || isIn(rightToLeft, value);
    line.text += isIn(controls, value) ? std::string_view(" ") : bytes;
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
