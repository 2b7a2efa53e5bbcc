#pragma once

#include "platform/linux/picture/h264/bits.h"

namespace vesk::picture::h264 {

/// Puts a NAL unit behind others, after its length as four bytes, big-endian.
void appendUnit(Bytes& units, ByteView unit);

/// The NAL units that were put together so, up to the first one that is cut short.
std::vector<ByteView> unitsOf(ByteView units);

}  // namespace vesk::picture::h264
