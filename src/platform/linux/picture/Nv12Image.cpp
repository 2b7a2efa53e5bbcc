#include "platform/linux/picture/Nv12Image.h"

#include <cstring>
#include <new>

namespace vesk::picture {
namespace {

constexpr std::uint8_t blackLuma = 16;
constexpr std::uint8_t greyChroma = 128;
constexpr std::size_t alignment = 64;  // a cache line, and the widest vector register

int aligned(std::int64_t width) {
  constexpr auto mask = static_cast<std::int64_t>(alignment) - 1;
  return static_cast<int>((width + mask) & ~mask);
}

}  // namespace

Nv12Image::Nv12Image(PixelSize size)
    : changedAt(static_cast<std::size_t>(macroblocksAcross(size.width)) *
                static_cast<std::size_t>(macroblocksAcross(size.height))),
      size_(size),
      stride_(aligned(size.width)) {
  const std::size_t all = lumaSize() + chromaSize();
  const std::size_t rounded = (all + alignment) & ~(alignment - 1);
  pixels_.reset(static_cast<std::uint8_t*>(std::aligned_alloc(alignment, rounded)));
  if (pixels_ == nullptr) throw std::bad_alloc();
  std::memset(luma(), blackLuma, lumaSize());
  std::memset(chroma(), greyChroma, chromaSize());
}

}  // namespace vesk::picture
