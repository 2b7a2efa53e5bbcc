#include "platform/linux/portal/screen/PaintedPointer.h"

#include <cstddef>
#include <cstring>
#include <utility>

namespace vesk::portal::screen {
namespace {

/// Exact to the half, as compositors blend.
std::uint32_t partOf(std::uint32_t colour, std::uint32_t part) {
  return (colour * part + 127U) / 255U;
}

/// Lays a premultiplied pixel over the one in memory.
void blend(std::uint32_t pixel, std::uint8_t* below) {
  const std::uint32_t alpha = pixel >> 24U;
  if (alpha == 0) return;
  for (unsigned colour = 0; colour < 3; ++colour) {
    const std::uint32_t laid = pixel >> (8U * colour) & 0xffU;
    const auto sum = laid + partOf(below[colour], 255U - alpha);
    below[colour] = static_cast<std::uint8_t>(sum > 255U ? 255U : sum);
  }
}

}  // namespace

void PaintedPointer::follow(PointerNews news) {
  const bool hasMoved = news.isWithin && (news.x != x_ || news.y != y_);
  if (news.isWithin != isWithin_ || hasMoved) hasChanged_ = true;
  isWithin_ = news.isWithin;
  if (!isWithin_) return;
  x_ = news.x;
  y_ = news.y;
  if (!news.shape || *news.shape == shape_) return;
  shape_ = std::move(*news.shape);
  hasChanged_ = true;
}

void PaintedPointer::paint(const Pixels& pixels) {
  hasChanged_ = false;
  const auto whole = place();
  painted_ = intersection(whole, {0, 0, pixels.width, pixels.height});
  if (painted_.isEmpty()) painted_ = {};
  for (std::int32_t y = painted_.y; y < painted_.bottom(); ++y) {
    const auto row = static_cast<std::size_t>(y - whole.y) * static_cast<std::size_t>(whole.width);
    const auto* const from = shape_.pixels.data() + row;
    for (std::int32_t x = painted_.x; x < painted_.right(); ++x)
      blend(from[x - whole.x], pixels.at(x, y));
  }
}

PixelRect PaintedPointer::place() const {
  if (!isWithin_) return {};
  return {x_ - shape_.hotX, y_ - shape_.hotY, shape_.width, shape_.height};
}

}  // namespace vesk::portal::screen
