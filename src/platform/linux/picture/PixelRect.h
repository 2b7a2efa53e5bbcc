#pragma once

#include <cstdint>
#include <vector>

namespace vesk::picture {

/// A rectangle of whole pixels: in the root window, in a window, or in a picture.
struct PixelRect {
  std::int32_t x = 0;
  std::int32_t y = 0;
  std::int32_t width = 0;
  std::int32_t height = 0;

  std::int32_t right() const { return x + width; }
  std::int32_t bottom() const { return y + height; }
  bool isEmpty() const { return width <= 0 || height <= 0; }
  bool operator==(const PixelRect&) const = default;
};

/// What two rectangles have in common; empty where they have nothing.
PixelRect intersection(const PixelRect& a, const PixelRect& b);

/// The smallest rectangle around both; one that is empty counts for nothing.
PixelRect around(const PixelRect& a, const PixelRect& b);

/// `rect` grown by so much on every side.
PixelRect padded(const PixelRect& rect, std::int32_t by);

/// `rect` in another place, so far to the right and down.
PixelRect moved(const PixelRect& rect, std::int32_t right, std::int32_t down);

/// What is left of each rectangle outside `cut`.
std::vector<PixelRect> without(const std::vector<PixelRect>& rects, const PixelRect& cut);

/// Rectangles that cover the same pixels, each of them once.
std::vector<PixelRect> disjoint(const std::vector<PixelRect>& rects);

}  // namespace vesk::picture
