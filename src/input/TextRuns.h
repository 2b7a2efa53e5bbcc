#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace vesk {

/// What a reader takes for one character is an extended grapheme cluster, however many code points
/// that is. Of a longer text only this many are typed.
inline constexpr std::size_t maxTextCharacters = 512;

/// UTF-16 code units that are typed of a text at most: a single character can be made of any number
/// of marks. No character is typed in part for it.
inline constexpr std::size_t maxTextUnits = 2048;

/// UTF-16 code units that one keyboard event carries at most.
inline constexpr std::size_t maxRunLength = 16;

/// The text that gets typed, cut for one keyboard event each. A cut may fall between the halves of
/// a surrogate pair: the receiving side joins them. `utf8` is well formed.
std::vector<std::u16string> textRuns(std::string_view utf8);

}  // namespace vesk
