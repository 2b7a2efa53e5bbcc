#include "platform/linux/portal/screen/KeptPicture.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <utility>

#include "platform/linux/picture/Nv12Image.h"
#include "platform/linux/portal/screen/RemotePicture.h"

namespace vesk::portal::screen {
namespace {

constexpr std::int32_t edge = picture::macroblockEdge;

std::size_t bytesOf(std::int32_t pixels) {
  return static_cast<std::size_t>(pixels) * bytesPerPixel;
}

std::int32_t squaresAcross(std::int32_t pixels) { return picture::macroblocksAcross(pixels); }

}  // namespace

KeptPicture::KeptPicture(PixelSize size)
    : width_(static_cast<std::int32_t>(size.width)),
      height_(static_cast<std::int32_t>(size.height)),
      across_(squaresAcross(width_)),
      down_(squaresAcross(height_)),
      stride_(static_cast<std::ptrdiff_t>(bytesOf(width_))),
      pixels_(bytesOf(width_) * static_cast<std::size_t>(height_)),
      marks_(static_cast<std::size_t>(across_) * static_cast<std::size_t>(down_), 1) {}

void KeptPicture::update(const std::uint8_t* pixels, std::ptrdiff_t stride, const PixelRect& area) {
  const auto inside = intersection(area, whole());
  if (inside.isEmpty()) return;
  for (std::int32_t top = inside.y; top < inside.bottom();) {
    const std::int32_t bottom = std::min((top / edge + 1) * edge, inside.bottom());
    updateBand(pixels, stride, {inside.x, top, inside.width, bottom - top});
    top = bottom;
  }
}

/// Takes over rows that lie in one row of squares. Where all of these have changed already, there
/// is nothing left to compare.
void KeptPicture::updateBand(const std::uint8_t* pixels, std::ptrdiff_t stride,
                             const PixelRect& part) {
  const auto* const marks = marksOf(part.y / edge);
  auto unmarked = std::count(marks + part.x / edge, marks + squaresAcross(part.right()), 0);
  const auto bytes = bytesOf(part.width);
  const auto left = static_cast<std::ptrdiff_t>(bytesOf(part.x));
  for (std::int32_t y = part.y; y < part.bottom(); ++y) {
    const auto* const now = pixels + y * stride + left;
    auto* const before = pixels_.data() + y * stride_ + left;
    if (unmarked > 0) {
      if (std::memcmp(now, before, bytes) == 0) continue;
      unmarked -= markChanged(now, before, {part.x, y, part.width, 1});
      hasChanges_ = true;
    }
    std::memcpy(before, now, bytes);
  }
}

/// Marks the squares that differ in a part of a row. How many they are that were not marked before.
int KeptPicture::markChanged(const std::uint8_t* now, const std::uint8_t* before,
                             const PixelRect& part) {
  auto* const marks = marksOf(part.y / edge);
  int count = 0;
  for (std::int32_t x = part.x; x < part.right();) {
    const std::int32_t square = x / edge;
    const std::int32_t end = std::min((square + 1) * edge, part.right());
    const auto from = bytesOf(x - part.x);
    if (marks[square] == 0 && std::memcmp(now + from, before + from, bytesOf(end - x)) != 0) {
      marks[square] = 1;
      ++count;
    }
    x = end;
  }
  return count;
}

std::vector<PixelRect> KeptPicture::takeChanges() {
  std::vector<PixelRect> changes;
  if (!std::exchange(hasChanges_, false)) return changes;
  std::vector<PixelRect> open;  // those that the next row of squares may make higher
  for (std::int32_t band = 0; band < down_; ++band) {
    auto row = takeBand(band);
    for (auto& rect : row) {
      const auto above = std::ranges::find_if(open, [&](const PixelRect& each) {
        return each.x == rect.x && each.width == rect.width;
      });
      if (above == open.end()) continue;
      rect = {rect.x, above->y, rect.width, above->height + rect.height};
      open.erase(above);
    }
    std::ranges::copy(open, std::back_inserter(changes));
    open = std::move(row);
  }
  std::ranges::copy(open, std::back_inserter(changes));
  return changes;
}

/// What has changed in one row of squares, neighbours together.
std::vector<PixelRect> KeptPicture::takeBand(std::int32_t band) {
  auto* const marks = marksOf(band);
  std::vector<PixelRect> runs;
  for (std::int32_t first = 0; first < across_; ++first) {
    if (marks[first] == 0) continue;
    std::int32_t end = first;
    while (end < across_ && marks[end] != 0) marks[end++] = 0;
    runs.push_back(intersection({first * edge, band * edge, (end - first) * edge, edge}, whole()));
    first = end;
  }
  return runs;
}

}  // namespace vesk::portal::screen
