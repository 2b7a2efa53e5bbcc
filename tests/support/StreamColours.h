#pragma once

#include <cstdint>
#include <optional>

#include "platform/linux/picture/h264/bits.h"

namespace vesk::testing {

/// What a sequence parameter set tells of how to look at the pictures (ITU-T H.264, Annex E). What
/// it leaves open is what a decoder then takes it to be: colours that nobody knows, chroma on the
/// left.
struct StreamColours {
  bool isFullRange = false;
  std::uint32_t primaries = 2;
  std::uint32_t transfer = 2;
  std::uint32_t matrix = 2;
  std::uint32_t chromaPlace = 0;  ///< of both fields
  double picturesPerSecond = 0;
};

/// Of a whole NAL unit of the baseline profile; nothing where it says nothing of that kind.
std::optional<StreamColours> streamColours(picture::h264::ByteView sequenceSet);

}  // namespace vesk::testing
