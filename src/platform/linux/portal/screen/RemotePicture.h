#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "platform/Geometry.h"
#include "platform/linux/picture/PixelRect.h"

namespace vesk::portal::screen {

using picture::PixelRect;

inline constexpr std::size_t bytesPerPixel = 4;

/// Nobody's screen reaches as far, in pixels: what a stream claims beyond this is no place, and
/// sums of places stay numbers.
inline constexpr std::int32_t farthest = 1 << 20;

/// How a stream's pictures lie in memory: four bytes a pixel, of which the last says nothing.
struct PictureLayout {
  enum class FirstColour { blue, red };

  PixelSize size;
  FirstColour first = FirstColour::blue;
  bool operator==(const PictureLayout&) const = default;
};

/// One picture of a stream, in memory that is somebody else's.
struct RemotePicture {
  PictureLayout layout;
  const std::uint8_t* pixels = nullptr;
  std::ptrdiff_t stride = 0;
  /// Where it may differ from the last one that was received. Nothing: anywhere.
  std::optional<std::vector<PixelRect>> damage;
};

}  // namespace vesk::portal::screen
