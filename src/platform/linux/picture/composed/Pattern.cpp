#include "platform/linux/picture/composed/Pattern.h"

#include <algorithm>
#include <cstring>

namespace vesk::picture::composed {
namespace {

/// With fewer edges it is like much else.
constexpr int fewestEdges = 3;

/// In more places than these it is, say, a part of a ruled sheet.
constexpr std::size_t mostPlaces = 6;

/// In pixels: how far a window is dragged from one picture to the next.
constexpr int farthestAslant = 96;

}  // namespace

std::optional<Pattern> Pattern::in(const Nv12Image& before, const Nv12Image& now, int row,
                                   int column) {
  constexpr int step = 4;
  const int x = std::min(column * macroblockEdge, static_cast<int>(now.size().width) - width);
  const int top = row * macroblockEdge;
  const int bottom = std::min(top + macroblockEdge, static_cast<int>(now.size().height)) - height;
  std::optional<Pattern> best;
  int most = fewestEdges - 1;
  for (int y = top; x >= 0 && y <= bottom; y += step) {
    const Pattern pattern(before, now, x, y);
    const int edges = pattern.edges();
    if (edges <= most || pattern.isUpright() || pattern.wasAt(x, y)) continue;
    most = edges;
    best = pattern;
  }
  if (best) best->chooseAnchors();
  return best;
}

Pattern::Pattern(const Nv12Image& before, const Nv12Image& now, int x, int y)
    : before_(&before), now_(&now), x_(x), y_(y) {}

int Pattern::edges() const {
  const std::uint8_t* row = now_->planes().lumaAt(x_, y_);
  int count = 0;
  for (int i = 1; i < width; ++i) count += row[i] != row[i - 1] ? 1 : 0;
  return count;
}

/// Whether all of its rows are the same: it would be found in several of them.
bool Pattern::isUpright() const {
  const std::uint8_t* row = now_->planes().lumaAt(x_, y_);
  for (int i = 1; i < height; ++i) {
    if (std::memcmp(row, row + static_cast<std::ptrdiff_t>(i) * now_->stride(), width) != 0)
      return false;
  }
  return true;
}

void Pattern::chooseAnchors() {
  const std::uint8_t* row = now_->planes().lumaAt(x_, y_);
  std::array<int, width> edges{};
  std::size_t count = 0;
  for (int i = 1; i < width; ++i) {
    if (row[i] != row[i - 1]) edges[count++] = i;
  }
  constexpr std::size_t chosen = anchorCount / 2;
  for (std::size_t i = 0; i < chosen; ++i) {
    const int edge = edges[i * count / chosen];
    anchors_[i * 2] = edge;
    anchors_[i * 2 + 1] = edge - 1;
  }
}

bool Pattern::wasAt(int x, int y) const {
  for (int i = 0; i < height; ++i) {
    if (std::memcmp(before_->planes().lumaAt(x, y + i), now_->planes().lumaAt(x_, y_ + i), width) !=
        0)
      return false;
  }
  return true;
}

/// Whether all of its anchors are in a row behind one of `count` places. To ask that of all of them
/// at once is what vector registers are good at.
bool Pattern::mayHaveBeenIn(const std::uint8_t* row, int count) const {
  std::array<std::uint8_t, anchorCount> wanted{};
  std::array<const std::uint8_t*, anchorCount> there{};
  for (std::size_t i = 0; i < anchorCount; ++i) {
    wanted[i] = now_->planes().lumaAt(x_, y_)[anchors_[i]];
    there[i] = row + anchors_[i];
  }
  std::uint8_t least = 0xff;
  for (int x = 0; x < count; ++x) {
    std::uint8_t difference = 0;
    for (std::size_t i = 0; i < anchorCount; ++i) {
      difference = static_cast<std::uint8_t>(difference | (there[i][x] ^ wanted[i]));
    }
    least = std::min(least, difference);
  }
  return least == 0;
}

std::vector<Shift> Pattern::shifts(int farthest) const {
  std::vector<Shift> found;
  const int lastX = static_cast<int>(before_->size().width) - width;
  const int lastY = static_cast<int>(before_->size().height) - height;
  for (int y = std::max(y_ - farthest, 0); y <= std::min(y_ + farthest, lastY); ++y) {
    const bool isNear = std::abs(y - y_) <= farthestAslant;
    const int reach = y == y_ ? farthest : isNear ? std::min(farthestAslant, farthest) : 0;
    const int first = std::max(x_ - reach, 0);
    const int last = std::min(x_ + reach, lastX);
    if (reach > 0 && !mayHaveBeenIn(before_->planes().lumaAt(first, y), last - first + 1)) continue;
    for (int x = first; x <= last; ++x) {
      if (!wasAt(x, y)) continue;
      if (found.size() == mostPlaces) return {};
      found.push_back({x_ - x, y_ - y});
    }
  }
  return found;
}

}  // namespace vesk::picture::composed
