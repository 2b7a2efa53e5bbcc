#include "platform/linux/wayland/beneath/fillFromSurroundings.h"

#include <algorithm>
#include <array>
#include <vector>

namespace vesk::wayland::beneath {
namespace {

using Colour = std::array<float, 3>;

/// What is known of a row or a column of an area: the pixels at its two ends, or which line beside
/// it has to speak for it.
struct Line {
  const std::uint8_t* before = nullptr;
  const std::uint8_t* behind = nullptr;
  bool isKnown() const { return before != nullptr || behind != nullptr; }
};

/// Points a line of which nothing is known to the nearest one of which something is.
std::vector<std::size_t> nearestKnown(const std::vector<Line>& lines) {
  constexpr auto none = static_cast<std::size_t>(-1);
  std::vector<std::size_t> nearest(lines.size(), none);
  std::size_t last = none;
  for (std::size_t i = 0; i < lines.size(); ++i) {
    if (lines[i].isKnown()) last = i;
    nearest[i] = last;
  }
  last = none;
  for (std::size_t i = lines.size(); i-- > 0;) {
    if (lines[i].isKnown()) last = i;
    if (last != none && (nearest[i] == none || last - i < i - nearest[i])) nearest[i] = last;
    if (nearest[i] == none) nearest[i] = i;
  }
  return nearest;
}

class Sum {
 public:
  void add(const std::uint8_t* pixel, std::int32_t distance) {
    if (pixel == nullptr) return;
    const float weight = 1.0F / static_cast<float>(distance);
    for (std::size_t i = 0; i < colour_.size(); ++i)
      colour_[i] += weight * static_cast<float>(pixel[i]);
    weight_ += weight;
  }
  bool isEmpty() const { return weight_ == 0; }
  void put(std::uint8_t* pixel) const {
    if (isEmpty()) return;
    const float scale = 1.0F / weight_;
    const float half = 0.5F * weight_;
    for (std::size_t i = 0; i < colour_.size(); ++i)
      pixel[i] = static_cast<std::uint8_t>((colour_[i] + half) * scale);
  }

 private:
  Colour colour_{};
  float weight_ = 0;
};

class Surroundings {
 public:
  Surroundings(const Pixels& pixels, const PixelRect& area, std::span<const PixelRect> unknown)
      : pixels_(pixels), area_(area), unknown_(unknown) {
    for (std::int32_t x = area.x; x < area.right(); ++x)
      columns_.push_back({known(x, area.y - 1), known(x, area.bottom())});
    for (std::int32_t y = area.y; y < area.bottom(); ++y)
      rows_.push_back({known(area.x - 1, y), known(area.right(), y)});
    columnOf_ = nearestKnown(columns_);
    rowOf_ = nearestKnown(rows_);
  }

  void paint(std::int32_t x, std::int32_t y) const {
    const auto column = static_cast<std::size_t>(x - area_.x);
    const auto row = static_cast<std::size_t>(y - area_.y);
    Sum sum;
    addColumn(sum, columns_[column], y);
    addRow(sum, rows_[row], x);
    // In a corner, the neighbouring lines have to speak for both.
    if (sum.isEmpty()) {
      addColumn(sum, columns_[columnOf_[column]], y);
      addRow(sum, rows_[rowOf_[row]], x);
    }
    sum.put(pixels_.at(x, y));
  }

 private:
  const std::uint8_t* known(std::int32_t x, std::int32_t y) const {
    if (x < 0 || y < 0 || x >= pixels_.width || y >= pixels_.height) return nullptr;
    const bool isUnknown = std::ranges::any_of(unknown_, [&](const PixelRect& other) {
      return x >= other.x && x < other.right() && y >= other.y && y < other.bottom();
    });
    return isUnknown ? nullptr : pixels_.at(x, y);
  }
  void addColumn(Sum& sum, const Line& line, std::int32_t y) const {
    sum.add(line.before, y - area_.y + 1);
    sum.add(line.behind, area_.bottom() - y);
  }
  void addRow(Sum& sum, const Line& line, std::int32_t x) const {
    sum.add(line.before, x - area_.x + 1);
    sum.add(line.behind, area_.right() - x);
  }

  const Pixels& pixels_;
  PixelRect area_;
  std::span<const PixelRect> unknown_;
  std::vector<Line> columns_;
  std::vector<Line> rows_;
  std::vector<std::size_t> columnOf_;
  std::vector<std::size_t> rowOf_;
};

}  // namespace

void fillFromSurroundings(const Pixels& pixels, const PixelRect& area,
                          std::span<const CoveredRun> runs, std::span<const PixelRect> unknown) {
  const Surroundings surroundings(pixels, area, unknown);
  for (const auto& run : runs) {
    for (std::int32_t i = 0; i < run.width; ++i) surroundings.paint(run.x + i, run.y);
  }
}

}  // namespace vesk::wayland::beneath
