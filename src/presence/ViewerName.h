#pragma once

#include <string>
#include <string_view>

namespace vesk {

/// The viewer's name as the person gets to see it inside a sentence: "Vesk support" for an empty
/// one, otherwise the name in one line.
///
/// The name comes from far away and must not be able to speak for this program. So line breaks and
/// other control characters become spaces, the marks that turn the direction of writing are left
/// out, and a name with right-to-left letters is isolated, so that it turns nothing around it.
std::string viewerNameForDisplay(std::string_view name);

}  // namespace vesk
