#pragma once

#include <cstdint>

#include "platform/linux/picture/composed/MovedBlocks.h"

namespace vesk::picture::composed {

/// A 4:2:0 picture of whole macroblocks in somebody else's memory, chroma interleaved.
struct PlanesView {
  std::uint8_t* luma = nullptr;
  std::uint8_t* chroma = nullptr;
  int lumaStride = 0;
  int chromaStride = 0;
};

/// Does to the picture before what a decoder does to it for the macroblocks that have moved, where
/// it lies: what is written over is read first. They come from inside the picture.
void shift(const PlanesView& planes, const MovedBlocks& moved);

}  // namespace vesk::picture::composed
