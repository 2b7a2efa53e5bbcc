#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace vesk::portal::screen {

/// What the pointer looks like.
struct PointerShape {
  std::int32_t width = 0;
  std::int32_t height = 0;
  std::int32_t hotX = 0;  ///< the pixel that is where the pointer is
  std::int32_t hotY = 0;
  std::vector<std::uint32_t> pixels;  ///< premultiplied ARGB, row by row
  bool operator==(const PointerShape&) const = default;
};

/// What a buffer tells of the pointer besides its picture.
struct PointerNews {
  bool isWithin = false;  ///< the picture
  std::int32_t x = 0;     ///< in its pixels
  std::int32_t y = 0;
  std::optional<PointerShape>
      shape;  ///< nothing where it looks as before; empty where it is hidden
  bool operator==(const PointerNews&) const = default;
};

/// Reads what was written by another program, perhaps at this moment. Nothing where it makes no
/// sense.
std::optional<PointerNews> pointerNews(std::span<const std::byte> metadata);

}  // namespace vesk::portal::screen
