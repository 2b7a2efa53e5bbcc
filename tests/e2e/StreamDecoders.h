#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "e2e/Browser.h"

namespace vesk::testing {

/// What a decoder made of a stream.
struct Seen {
  std::vector<std::uint32_t> pictures;  ///< the sum of each, in the order in which they came
  std::string fault;                    ///< what it said of it; empty if all is well
};

using AccessUnits = std::vector<std::vector<std::byte>>;

/// Each asks for a picture out of every access unit before it hands in the next one, but ffmpeg,
/// which takes the stream at once.
Seen seenByOpenH264(const AccessUnits& units);
Seen seenByFfmpeg(const AccessUnits& units);

/// The page's own decoder, set up from the first access unit as a viewer's would be.
Seen seenByBrowser(Browser& browser, const AccessUnits& units);

}  // namespace vesk::testing
