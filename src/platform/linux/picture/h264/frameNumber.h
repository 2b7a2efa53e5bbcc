#pragma once

#include "platform/linux/picture/h264/SliceSyntax.h"

namespace vesk::picture::h264 {

/// The slice with `added` added to its frame number, for a stream into which that many pictures
/// were put. Units that are not slices, key frames' slices and units that are cut short come back
/// as they are: key frames count from zero.
Bytes withFrameNumberMoved(ByteView unit, const SliceSyntax& syntax, std::uint32_t added);

}  // namespace vesk::picture::h264
