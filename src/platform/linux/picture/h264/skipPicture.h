#pragma once

#include "platform/linux/picture/h264/SliceSyntax.h"

namespace vesk::picture::h264 {

/// One NAL unit that shows the picture before it once more: a P slice in which every macroblock is
/// skipped. It is a reference picture like its neighbours, so it takes a frame number of its own.
Bytes skipPicture(const SliceSyntax& syntax, std::uint32_t frameNumber, std::uint32_t macroblocks);

}  // namespace vesk::picture::h264
