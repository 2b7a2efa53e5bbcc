#pragma once

#include <optional>
#include <span>

#include "platform/linux/picture/h264/bits.h"

namespace vesk::picture::h264 {

/// What must be known of a stream to read and write the beginning of its slices.
struct SliceSyntax {
  std::uint32_t pictureParameterSet = 0;
  unsigned frameNumberBits = 4;
  bool oneReferenceByDefault = true;
  bool deblockingControl = false;
  int initialQuantiser = 26;  ///< from which slices tell theirs
  int chromaOffset = 0;       ///< of the chroma's quantiser
  bool constrainedIntra = false;

  bool operator==(const SliceSyntax&) const = default;
};

/// Reads both parameter sets (whole NAL units). Nothing for a stream that is not of the plain kind
/// on which pictures can be put in between: baseline, whole frames, output in decoding order, one
/// reference frame, no slice groups.
std::optional<SliceSyntax> sliceSyntax(ByteView sequenceSet, ByteView pictureSet);

/// The same of what an encoder has: nothing unless these are just two sets, in that order.
std::optional<SliceSyntax> sliceSyntax(std::span<const Bytes> sets);

}  // namespace vesk::picture::h264
