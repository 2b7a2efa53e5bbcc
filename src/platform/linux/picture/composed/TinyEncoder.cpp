#include "platform/linux/picture/composed/TinyEncoder.h"

#include <algorithm>
#include <cstring>

#include "platform/linux/picture/h264/units.h"

namespace vesk::picture::composed {
namespace {

X264Settings settingsOf(X264Settings like, int macroblocks) {
  like.width = macroblocks * macroblockEdge;
  like.height = macroblockEdge;
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

TinyEncoder::TinyEncoder(const X264Settings& like, int macroblocks)
    : count_(macroblocks),
      encoder_(settingsOf(like, macroblocks)),
      pixels_({std::int64_t{macroblocks} * macroblockEdge, macroblockEdge}),
      unchanged_(static_cast<std::size_t>(macroblocks)) {
  if (!encoder_ || encoder_.parameterSets().size() != 2) return;
  // Another picture must have been there before one that refers to it.
  X264Encoder::Request first;
  first.keyFrame = true;
  first.quantiser = like.quantisers.worst;
  if (!encoder_.encode(pixels_, first)) return;
  syntax_ = h264::sliceSyntax(encoder_.parameterSets()[0], encoder_.parameterSets()[1]);
}

std::optional<h264::SliceData> TinyEncoder::encode(const Nv12Image& image,
                                                   const PlanesView& reference,
                                                   const Request& request) {
  const int x = request.place.first * macroblockEdge;
  const int y = request.place.row * macroblockEdge;
  copyMacroblocks(reference.from(x, y), encoder_.reconstruction(), {count_, 1}, borderWidth);
  cut(image, reference, request);
  X264Encoder::Request own;
  own.quantiser = request.quantiser;
  own.unchanged = &unchanged_;
  own.searchesFar = request.searchesFar;
  const auto units = encoder_.encode(pixels_, own);
  if (!units) return std::nullopt;
  const auto all = h264::unitsOf(*units);
  return all.size() == 1 ? h264::sliceData(all.front(), *syntax_) : std::nullopt;
}

/// The pixels of what has changed, and of the rest those that are there already. Beyond the edge of
/// the image, those at its edge go on.
void TinyEncoder::cut(const Nv12Image& image, const PlanesView& reference, const Request& request) {
  const auto size = image.size();
  const int width = static_cast<int>(size.width);
  const int height = static_cast<int>(size.height);
  const auto across = static_cast<std::size_t>(macroblocksAcross(width));
  const auto marks =
      request.unchanged.subspan(static_cast<std::size_t>(request.place.row) * across +
                                    static_cast<std::size_t>(request.place.first),
                                unchanged_.size());
  std::ranges::copy(marks, unchanged_.begin());
  const int top = request.place.row * macroblockEdge;
  const int left = request.place.first * macroblockEdge;
  const PlanesView there = image.planes();
  const Planes here = pixels_.planes();
  for (int i = 0; i < count_; ++i) {
    const int x = left + i * macroblockEdge;
    const Planes block = here.from(i * macroblockEdge, 0);
    if (unchanged_[static_cast<std::size_t>(i)] != 0) {
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
