#include "platform/linux/picture/composed/BlockComparison.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace vesk::picture::composed {
namespace {

struct Plane {
  const std::uint8_t* before;
  const std::uint8_t* now;
  int stride;
};

bool isSamePlane(const Plane& plane, const Origin& origin, int width, int height) {
  std::array<std::uint8_t, macroblockEdge> kept{};
  const std::uint8_t* before = plane.before;
  const std::uint8_t* now = plane.now;
  for (int y = 0; y < height; ++y, before += plane.stride, now += plane.stride) {
    const std::uint8_t* came = before + origin.first;
    if (origin.isBetween()) {
      fetch(before, origin, width, kept.data());
      came = kept.data();
    }
    // The length that nearly all have is told to the compiler.
    const bool same = width == macroblockEdge
                          ? std::memcmp(came, now, macroblockEdge) == 0
                          : std::memcmp(came, now, static_cast<std::size_t>(width)) == 0;
    if (!same) return false;
  }
  return true;
}

}  // namespace

BlockComparison::BlockComparison(const Nv12Image& before, const Nv12Image& now, const Shift& shift)
    : before_(before),
      now_(now),
      shift_(shift),
      luma_(lumaOrigin(shift, now.stride())),
      chroma_(chromaOrigin(shift, now.stride())) {}

bool BlockComparison::isSame(int row, int column) const {
  const int pictureWidth = static_cast<int>(now_.size().width);
  const int pictureHeight = static_cast<int>(now_.size().height);
  const int x = column * macroblockEdge;
  const int y = row * macroblockEdge;
  const int width = std::min(macroblockEdge, pictureWidth - x);
  const int height = std::min(macroblockEdge, pictureHeight - y);
  const int fromX = x - shift_.right;
  const int fromY = y - shift_.down;
  if (fromX < 0 || fromY < 0 || fromX + width > pictureWidth || fromY + height > pictureHeight)
    return false;

  const int stride = now_.stride();
  const auto at = [&](int line) { return static_cast<std::ptrdiff_t>(line) * stride + x; };
  return isSamePlane({before_.luma() + at(y), now_.luma() + at(y), stride}, luma_, width, height) &&
         isSamePlane({before_.chroma() + at(y / 2), now_.chroma() + at(y / 2), stride}, chroma_,
                     width, height / 2);
}

}  // namespace vesk::picture::composed
