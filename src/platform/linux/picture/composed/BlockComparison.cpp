#include "platform/linux/picture/composed/BlockComparison.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <span>

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

/// Of `count` macroblocks beside one another, `height` rows of pixels high.
void findDifferences(const Plane& plane, std::ptrdiff_t origin, int height, std::size_t count,
                     std::vector<std::uint64_t>& differences) {
  differences.assign(count, 0);
  const std::uint8_t* before = plane.before + origin;
  const std::uint8_t* now = plane.now;
  std::uint64_t* const result = differences.data();
  for (int y = 0; y < height; ++y, before += plane.stride, now += plane.stride) {
    for (std::size_t i = 0; i < count; ++i) {
      std::array<std::uint64_t, 2> a;
      std::array<std::uint64_t, 2> b;
      std::memcpy(a.data(), before + i * macroblockEdge, macroblockEdge);
      std::memcpy(b.data(), now + i * macroblockEdge, macroblockEdge);
      result[i] |= (a[0] ^ b[0]) | (a[1] ^ b[1]);
    }
  }
}

/// The same of what lies between the samples: for each column, the largest difference.
void findFading(const Plane& plane, const Origin& origin, int height, std::size_t count,
                std::vector<std::uint8_t>& came, std::vector<std::uint8_t>& largest) {
  const std::size_t width = count * macroblockEdge;
  came.resize(width);
  largest.assign(width, 0);
  // Bytes may be anything, so that the compiler must be told that the vectors stay where they are.
  std::uint8_t* const there = came.data();
  std::uint8_t* const most = largest.data();
  const std::uint8_t* before = plane.before;
  const std::uint8_t* now = plane.now;
  for (int y = 0; y < height; ++y, before += plane.stride, now += plane.stride) {
    fetch(before, origin, static_cast<int>(width), there);
    for (std::size_t x = 0; x < width; ++x) {
      const int difference = std::max(there[x], now[x]) - std::min(there[x], now[x]);
      most[x] = std::max(most[x], static_cast<std::uint8_t>(difference));
    }
  }
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

bool BlockComparison::comesFromInside(int row, int column) const {
  const int x = column * macroblockEdge;
  const int y = row * macroblockEdge;
  const int fromX = x - shift_.right;
  const int fromY = y - shift_.down;
  const int right = std::min(x + macroblockEdge, static_cast<int>(now_.size().width));
  const int bottom = std::min(y + macroblockEdge, static_cast<int>(now_.size().height));
  return fromX >= 0 && fromY >= 0 && right - shift_.right <= now_.size().width &&
         bottom - shift_.down <= now_.size().height;
}

/// Those at the edges, which may be cut or come from outside, are left out.
void BlockComparison::readAhead(int row, int first, int end) {
  const int whole = static_cast<int>(now_.size().width) / macroblockEdge;
  while (first < end && !comesFromInside(row, first)) ++first;
  end = std::min(end, whole);
  while (first < end && !comesFromInside(row, end - 1)) --end;
  ahead_.row = -1;
  const int bottom = (row + 1) * macroblockEdge;
  if (first >= end || bottom > now_.size().height) return;
  ahead_.row = row;
  ahead_.first = first;
  ahead_.end = end;
  const int stride = now_.stride();
  const auto count = static_cast<std::size_t>(end - first);
  const int x = first * macroblockEdge;
  const auto at = [&](int line) { return static_cast<std::ptrdiff_t>(line) * stride + x; };
  const int y = row * macroblockEdge;
  findDifferences({before_.luma() + at(y), now_.luma() + at(y), stride}, luma_.first,
                  macroblockEdge, count, ahead_.luma);
  const Plane chroma{before_.chroma() + at(y / 2), now_.chroma() + at(y / 2), stride};
  if (chroma_.isBetween()) {
    findFading(chroma, chroma_, macroblockEdge / 2, count, ahead_.came, ahead_.largest);
  } else {
    findDifferences(chroma, chroma_.first, macroblockEdge / 2, count, ahead_.chroma);
  }
}

Likeness BlockComparison::likeness(int row, int column) const {
  if (isReadAhead(row, column)) {
    const auto place = static_cast<std::size_t>(column - ahead_.first);
    if (ahead_.luma[place] != 0) return Likeness::none;
    if (chroma_.isBetween()) return fadingAhead(place);
    return ahead_.chroma[place] == 0 ? Likeness::same : Likeness::none;
  }
  if (!comesFromInside(row, column)) return Likeness::none;
  const int x = column * macroblockEdge;
  const int y = row * macroblockEdge;
  const int width = std::min(macroblockEdge, static_cast<int>(now_.size().width) - x);
  const int height = std::min(macroblockEdge, static_cast<int>(now_.size().height) - y);
  const std::ptrdiff_t at = static_cast<std::ptrdiff_t>(y) * now_.stride() + x;
  const Plane luma{before_.luma() + at, now_.luma() + at, now_.stride()};
  if (!isSamePlane(luma, luma_.first, width, height)) return Likeness::none;
  return colourLikeness(row, column);
}

Likeness BlockComparison::fadingAhead(std::size_t place) const {
  const auto columns = std::span(ahead_.largest).subspan(place * macroblockEdge, macroblockEdge);
  const int largest = *std::ranges::max_element(columns);
  if (largest > mostFaded) return Likeness::none;
  return largest > 0 ? Likeness::faded : Likeness::same;
}

Likeness BlockComparison::colourLikeness(int row, int column) const {
  const int x = column * macroblockEdge;
  const int y = row * macroblockEdge;
  const int width = std::min(macroblockEdge, static_cast<int>(now_.size().width) - x);
  const int height = std::min(macroblockEdge, static_cast<int>(now_.size().height) - y) / 2;
  const std::ptrdiff_t at = static_cast<std::ptrdiff_t>(y / 2) * now_.stride() + x;
  const Plane chroma{before_.chroma() + at, now_.chroma() + at, now_.stride()};
  if (chroma_.isBetween()) return likenessBetween(chroma, chroma_, width, height);
  return isSamePlane(chroma, chroma_.first, width, height) ? Likeness::same : Likeness::none;
}

}  // namespace vesk::picture::composed
