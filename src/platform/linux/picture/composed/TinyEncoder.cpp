#include "platform/linux/picture/composed/TinyEncoder.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "platform/linux/picture/h264/units.h"

namespace vesk::picture::composed {
namespace {

X264Settings settingsOf(X264Settings like, const Extent& extent) {
  like.width = extent.across * macroblockEdge;
  like.height = extent.down * macroblockEdge;
  like.sliceEachRow = true;
  like.farthestVector = 2 * borderWidth;
  return like;
}

/// `count` pixels of so many bytes of a row, the last one once more where it ends before.
template <std::size_t size>
void copyPixels(const std::uint8_t* from, int there, int count, std::uint8_t* to) {
  const auto copied = static_cast<std::size_t>(std::min(there, count)) * size;
  const auto all = static_cast<std::size_t>(count) * size;
  std::memcpy(to, from, copied);
  for (std::size_t i = copied; i < all; i += size) std::memcpy(to + i, to + copied - size, size);
}

}  // namespace

TinyEncoder::TinyEncoder(const X264Settings& like, const Extent& extent)
    : extent_(extent),
      encoder_(settingsOf(like, extent)),
      pixels_({std::int64_t{extent.across} * macroblockEdge,
               std::int64_t{extent.down} * macroblockEdge}),
      unchanged_(static_cast<std::size_t>(extent.across) * static_cast<std::size_t>(extent.down)) {
  if (!encoder_) return;
  // Another picture must have been there before one that refers to it.
  X264Encoder::Request first;
  first.keyFrame = true;
  first.quantiser = like.quantisers.worst;
  if (!encoder_.encode(pixels_, first)) return;
  syntax_ = h264::sliceSyntax(encoder_.parameterSets());
}

std::vector<h264::SliceData> TinyEncoder::encode(const Nv12Image& image,
                                                 const PlanesView& reference,
                                                 const Request& request) {
  const int x = request.place.first * macroblockEdge;
  const int y = request.place.row * macroblockEdge;
  copyMacroblocks(reference.from(x, y), encoder_.reconstruction(), extent_, borderWidth);
  for (int row = 0; row < extent_.down; ++row) cut(image, reference, request, row);
  X264Encoder::Request own;
  own.quantiser = request.quantiser;
  own.unchanged = &unchanged_;
  own.searchesFar = request.searchesFar;
  const auto units = encoder_.encode(pixels_, own);
  if (!units) return {};
  std::vector<h264::SliceData> all;
  for (const auto unit : h264::unitsOf(*units)) {
    auto data = h264::sliceData(unit, *syntax_);
    if (data) all.push_back(std::move(*data));
  }
  if (all.size() != static_cast<std::size_t>(extent_.down)) all.clear();
  return all;
}

/// The pixels of what has changed, and of the rest those that are there already. Beyond the edge of
/// the image, those at its edge go on.
void TinyEncoder::cut(const Nv12Image& image, const PlanesView& reference, const Request& request,
                      int row) {
  const auto size = image.size();
  const int width = static_cast<int>(size.width);
  const int height = static_cast<int>(size.height);
  const auto across = static_cast<std::size_t>(macroblocksAcross(width));
  const auto count = static_cast<std::size_t>(extent_.across);
  const auto from = static_cast<std::size_t>(request.place.row + row) * across +
                    static_cast<std::size_t>(request.place.first);
  const auto marks = std::span(unchanged_).subspan(static_cast<std::size_t>(row) * count, count);
  std::ranges::copy(request.unchanged.subspan(from, count), marks.begin());
  const int top = (request.place.row + row) * macroblockEdge;
  const int left = request.place.first * macroblockEdge;
  const PlanesView there = image.planes();
  const Planes here = pixels_.planes().from(0, row * macroblockEdge);
  for (int i = 0; i < extent_.across; ++i) {
    const int x = left + i * macroblockEdge;
    const Planes block = here.from(i * macroblockEdge, 0);
    if (marks[static_cast<std::size_t>(i)] != 0) {
      copyMacroblocks(reference.from(x, top), block, {1, 1});
      continue;
    }
    for (int y = 0; y < macroblockEdge; ++y) {
      copyPixels<1>(there.lumaAt(x, std::min(top + y, height - 1)), width - x, macroblockEdge,
                    block.lumaAt(0, y));
    }
    for (int y = 0; y < macroblockEdge; y += 2) {
      copyPixels<2>(there.chromaAt(x, std::min(top + y, height - 2)), (width - x) / 2,
                    macroblockEdge / 2, block.chromaAt(0, y));
    }
  }
}

}  // namespace vesk::picture::composed
