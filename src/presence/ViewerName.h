#pragma once

#include <string>
#include <string_view>

namespace vesk {

/// Of a longer name only so much is shown: characters as a reader counts them, and bytes of UTF-8.
inline constexpr std::size_t maxNameCharacters = 64;
inline constexpr std::size_t maxNameBytes = 1024;

/// The name's beginning up to `maxNameBytes`, without a code point in part: all of it that anybody
/// needs to keep.
std::string_view withinNameBounds(std::string_view name);

/// The viewer's name as the person gets to see it inside a sentence: "Vesk support" for an empty
/// one and for one of which nothing can be seen, otherwise the name in one line, within the bounds.
///
/// The name comes from far away and must not be able to speak for this program, nor keep it busy.
/// So line breaks and other control characters become spaces, the marks that turn the direction of
/// writing are left out, and a name with right-to-left letters is isolated, so that it turns
/// nothing around it.
std::string viewerNameForDisplay(std::string_view name);

}  // namespace vesk
