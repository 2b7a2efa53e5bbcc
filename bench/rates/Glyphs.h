#pragma once

#include <cstdint>
#include <random>
#include <vector>

#include "rates/Canvas.h"

namespace vesk::rates {

/// Letters that no font has: strokes between the points of a grid, with soft edges, in cells of one
/// size. The same on every machine. Thread: any.
class Glyphs {
 public:
  Glyphs(int cellWidth, int cellHeight);

  int cellWidth() const { return cellWidth_; }
  int cellHeight() const { return cellHeight_; }

  /// Letter number nought is the blank.
  void letter(Canvas& canvas, int left, int top, unsigned number, Colour ink, Colour paper) const;

  /// A line of words that fills a rectangle's width, each letter in its cell.
  void line(Canvas& canvas, const picture::PixelRect& rect, std::mt19937& random, Colour ink,
            Colour paper) const;

  /// Lines over all of a rectangle.
  void page(Canvas& canvas, const picture::PixelRect& rect, std::mt19937& random, Colour ink,
            Colour paper) const;

  static constexpr unsigned count = 64;

 private:
  void draw(std::mt19937& random, std::uint8_t* coverage) const;

  int cellWidth_;
  int cellHeight_;
  std::vector<std::uint8_t> coverage_;
};

}  // namespace vesk::rates
