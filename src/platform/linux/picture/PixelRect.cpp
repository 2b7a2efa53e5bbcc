#include "platform/linux/picture/PixelRect.h"

#include <algorithm>

namespace vesk::picture {

PixelRect intersection(const PixelRect& a, const PixelRect& b) {
  const std::int32_t left = std::max(a.x, b.x);
  const std::int32_t top = std::max(a.y, b.y);
  return {left, top, std::max(std::min(a.right(), b.right()) - left, 0),
          std::max(std::min(a.bottom(), b.bottom()) - top, 0)};
}

PixelRect around(const PixelRect& a, const PixelRect& b) {
  if (a.isEmpty()) return b;
  if (b.isEmpty()) return a;
  const std::int32_t left = std::min(a.x, b.x);
  const std::int32_t top = std::min(a.y, b.y);
  return {left, top, std::max(a.right(), b.right()) - left, std::max(a.bottom(), b.bottom()) - top};
}

PixelRect padded(const PixelRect& rect, std::int32_t by) {
  return {rect.x - by, rect.y - by, rect.width + 2 * by, rect.height + 2 * by};
}

PixelRect moved(const PixelRect& rect, std::int32_t right, std::int32_t down) {
  return {rect.x + right, rect.y + down, rect.width, rect.height};
}

std::vector<PixelRect> without(const std::vector<PixelRect>& rects, const PixelRect& cut) {
  std::vector<PixelRect> rest;
  const auto add = [&](const PixelRect& piece) {
    if (!piece.isEmpty()) rest.push_back(piece);
  };
  for (const auto& rect : rects) {
    const PixelRect hole = intersection(rect, cut);
    if (hole.isEmpty()) {
      add(rect);
      continue;
    }
    add({rect.x, rect.y, rect.width, hole.y - rect.y});
    add({rect.x, hole.bottom(), rect.width, rect.bottom() - hole.bottom()});
    add({rect.x, hole.y, hole.x - rect.x, hole.height});
    add({hole.right(), hole.y, rect.right() - hole.right(), hole.height});
  }
  return rest;
}

std::vector<PixelRect> disjoint(const std::vector<PixelRect>& rects) {
  std::vector<PixelRect> all;
  for (const auto& rect : rects) {
    std::vector<PixelRect> pieces{rect};
    for (const auto& before : all) pieces = without(pieces, before);
    for (const auto& piece : pieces) {
      if (!piece.isEmpty()) all.push_back(piece);
    }
  }
  return all;
}

}  // namespace vesk::picture
