#include "platform/linux/picture/composed/BlockComparison.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>

namespace vesk::picture::composed {
namespace {

struct Plane {
  const std::uint8_t* before;
  const std::uint8_t* now;
  int stride;
};

/// Mostly, colours that lie on other samples differ by less.
constexpr int mostFaded = 48;

bool isSamePlane(const Plane& plane, std::ptrdiff_t origin, int width, int height) {
  const std::uint8_t* before = plane.before + origin;
  const std::uint8_t* now = plane.now;
  for (int y = 0; y < height; ++y, before += plane.stride, now += plane.stride) {
    // The length that nearly all have is told to the compiler.
    const bool same = width == macroblockEdge
                          ? std::memcmp(before, now, macroblockEdge) == 0
                          : std::memcmp(before, now, static_cast<std::size_t>(width)) == 0;
    if (!same) return false;
  }
  return true;
}

int largestDifference(const std::uint8_t* one, const std::uint8_t* other, int count) {
  int largest = 0;
  for (int i = 0; i < count; ++i) largest = std::max(largest, std::abs(one[i] - other[i]));
  return largest;
}

/// The same of what lies between the samples.
Likeness likenessBetween(const Plane& plane, const Origin& origin, int width, int height) {
  std::array<std::uint8_t, macroblockEdge> came{};
  const std::uint8_t* before = plane.before;
  const std::uint8_t* now = plane.now;
  Likeness likeness = Likeness::same;
  for (int y = 0; y < height; ++y, before += plane.stride, now += plane.stride) {
    fetch(before, origin, width, came.data());
    if (std::memcmp(came.data(), now, static_cast<std::size_t>(width)) == 0) continue;
    if (largestDifference(came.data(), now, width) > mostFaded) return Likeness::none;
    likeness = Likeness::faded;
  }
  return likeness;
}

}  // namespace

BlockComparison::BlockComparison(const Nv12Image& before, const Nv12Image& now, const Shift& shift)
    : before_(before),
      now_(now),
      shift_(shift),
      luma_(lumaOrigin(shift, now.stride())),
      chroma_(chromaOrigin(shift, now.stride())) {}

Likeness BlockComparison::likeness(int row, int column) const {
  const int pictureWidth = static_cast<int>(now_.size().width);
  const int pictureHeight = static_cast<int>(now_.size().height);
  const int x = column * macroblockEdge;
  const int y = row * macroblockEdge;
  const int width = std::min(macroblockEdge, pictureWidth - x);
  const int height = std::min(macroblockEdge, pictureHeight - y);
  const int fromX = x - shift_.right;
  const int fromY = y - shift_.down;
  if (fromX < 0 || fromY < 0 || fromX + width > pictureWidth || fromY + height > pictureHeight)
    return Likeness::none;

  const int stride = now_.stride();
  const auto at = [&](int line) { return static_cast<std::ptrdiff_t>(line) * stride + x; };
  const Plane luma{before_.luma() + at(y), now_.luma() + at(y), stride};
  if (!isSamePlane(luma, luma_.first, width, height)) return Likeness::none;
  const Plane chroma{before_.chroma() + at(y / 2), now_.chroma() + at(y / 2), stride};
  if (chroma_.isBetween()) return likenessBetween(chroma, chroma_, width, height / 2);
  return isSamePlane(chroma, chroma_.first, width, height / 2) ? Likeness::same : Likeness::none;
}

}  // namespace vesk::picture::composed
