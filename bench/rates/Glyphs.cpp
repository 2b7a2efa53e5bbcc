#include "rates/Glyphs.h"

#include <algorithm>
#include <cmath>

namespace vesk::rates {
namespace {

/// How far a point lies from the stroke between two others.
double distance(double x, double y, double ax, double ay, double bx, double by) {
  const double length = (bx - ax) * (bx - ax) + (by - ay) * (by - ay);
  const double along =
      length > 0 ? std::clamp(((x - ax) * (bx - ax) + (y - ay) * (by - ay)) / length, 0.0, 1.0) : 0;
  return std::hypot(x - ax - along * (bx - ax), y - ay - along * (by - ay));
}

std::uint8_t mixed(std::uint8_t ink, std::uint8_t paper, int coverage) {
  return static_cast<std::uint8_t>(paper + (ink - paper) * coverage / 255);
}

}  // namespace

Glyphs::Glyphs(int cellWidth, int cellHeight)
    : cellWidth_(cellWidth),
      cellHeight_(cellHeight),
      coverage_(static_cast<std::size_t>(cellWidth * cellHeight) * count) {
  std::mt19937 random(11);
  for (unsigned number = 1; number < count; ++number) {
    draw(random, coverage_.data() + static_cast<std::size_t>(cellWidth * cellHeight) * number);
  }
}

void Glyphs::draw(std::mt19937& random, std::uint8_t* coverage) const {
  const double thickness = cellHeight_ / 12.0;
  const auto third = [&] { return static_cast<double>(random() % 3) / 2; };
  const auto along = [&] { return 0.8 + third() * (cellWidth_ - 3); };
  const auto down = [&] { return cellHeight_ * (0.25 + third() / 2); };
  const auto strokes = 2 + random() % 3;
  for (unsigned stroke = 0; stroke < strokes; ++stroke) {
    const double ax = along(), ay = down(), bx = along(), by = down();
    for (int y = 0; y < cellHeight_; ++y) {
      for (int x = 0; x < cellWidth_; ++x) {
        const double away = distance(x + 0.5, y + 0.5, ax, ay, bx, by) - thickness / 2;
        const auto here = static_cast<std::uint8_t>(255 * std::clamp(0.5 - away, 0.0, 1.0));
        auto& all = coverage[y * cellWidth_ + x];
        all = std::max(all, here);
      }
    }
  }
}

void Glyphs::letter(Canvas& canvas, int left, int top, unsigned number, Colour ink,
                    Colour paper) const {
  const std::uint8_t* const coverage =
      coverage_.data() + static_cast<std::size_t>(cellWidth_ * cellHeight_) * (number % count);
  canvas.paint({left, top, cellWidth_, cellHeight_}, [&](int x, int y) {
    const int here = coverage[(y - top) * cellWidth_ + x - left];
    return Colour{mixed(ink.luma, paper.luma, here), mixed(ink.blue, paper.blue, here),
                  mixed(ink.red, paper.red, here)};
  });
}

void Glyphs::line(Canvas& canvas, const picture::PixelRect& rect, std::mt19937& random, Colour ink,
                  Colour paper) const {
  auto left = random() % 9 + 2;
  for (int x = rect.x; x + cellWidth_ <= rect.right(); x += cellWidth_) {
    const bool blank = left-- == 0;
    if (blank) left = random() % 9 + 2;
    letter(canvas, x, rect.y, blank ? 0 : 1 + static_cast<unsigned>(random()) % (count - 1), ink,
           paper);
  }
}

void Glyphs::page(Canvas& canvas, const picture::PixelRect& rect, std::mt19937& random, Colour ink,
                  Colour paper) const {
  canvas.paint(rect, [&](int, int) { return paper; });
  for (int y = rect.y; y + cellHeight_ <= rect.bottom(); y += cellHeight_) {
    line(canvas, {rect.x, y, rect.width, cellHeight_}, random, ink, paper);
  }
}

}  // namespace vesk::rates
