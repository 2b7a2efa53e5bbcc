#pragma once

#include "platform/linux/picture/h264/bits.h"

namespace vesk::picture::h264 {

/// A NAL unit without the bytes that keep its payload from looking like a start code.
Bytes unescaped(ByteView unit);

/// The same with those bytes put in where they are needed.
Bytes escaped(ByteView raw);

}  // namespace vesk::picture::h264
