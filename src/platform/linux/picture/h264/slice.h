#pragma once

#include <optional>

#include "platform/linux/picture/h264/SliceSyntax.h"

namespace vesk::picture::h264 {

/// What differs between the slices of a stream.
struct SliceHeader {
  std::uint32_t firstMacroblock = 0;
  std::uint32_t frameNumber = 0;  ///< of the picture; its lowest bits count. A key frame has none
  int quantiser = 26;             ///< with which its first macroblock begins
  /// Of a key frame, which must not have the one of a key frame straight before it; a P picture has
  /// none.
  std::optional<std::uint32_t> keyIdentifier{};
};

/// Begins the NAL unit of a slice of a reference picture (ITU-T H.264, 7.3.3).
void writeSliceHeader(BitWriter& writer, const SliceSyntax& syntax, const SliceHeader& header);

/// The macroblocks of a slice, without its header.
struct SliceData {
  Bytes raw;
  std::size_t from = 0;  ///< bits of `raw`
  std::size_t to = 0;
  int quantiser = 0;
};

/// Of a whole NAL unit. Nothing for one that is not a P slice of the plain kind that an encoder of
/// this syntax writes.
std::optional<SliceData> sliceData(ByteView unit, const SliceSyntax& syntax);

/// The same of a key frame's.
std::optional<SliceData> keySliceData(ByteView unit, const SliceSyntax& syntax);

}  // namespace vesk::picture::h264
