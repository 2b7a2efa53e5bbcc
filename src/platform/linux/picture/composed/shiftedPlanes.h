#pragma once

#include "platform/linux/picture/Planes.h"
#include "platform/linux/picture/composed/MovedBlocks.h"

namespace vesk::picture::composed {

/// Does to the picture before what a decoder does to it for the macroblocks that have moved, where
/// it lies: what is written over is read first. They come from inside the picture.
void shift(const Planes& planes, const MovedBlocks& moved);

}  // namespace vesk::picture::composed
