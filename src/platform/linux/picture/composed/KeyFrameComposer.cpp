#include "platform/linux/picture/composed/KeyFrameComposer.h"

#include <algorithm>
#include <utility>

#include "platform/linux/picture/composed/planeRows.h"
#include "platform/linux/picture/h264/emulationPrevention.h"
#include "platform/linux/picture/h264/units.h"

namespace vesk::picture::composed {
namespace {

/// More of them keep more of a picture in which little has changed, and take more bits: nothing is
/// foretold across the border between two.
constexpr std::size_t mostBands = 14;

PixelSize wholeMacroblocks(const Extent& extent) {
  return {std::int64_t{extent.across} * macroblockEdge, std::int64_t{extent.down} * macroblockEdge};
}

}  // namespace

KeyFrameComposer::KeyFrameComposer(const X264Settings& settings, const h264::SliceSyntax& syntax,
                                   std::size_t mostSlices)
    : settings_(settings),
      syntax_(syntax),
      extent_{macroblocksAcross(settings.width), macroblocksAcross(settings.height)},
      pixels_({settings.width, settings.height}),
      made_(wholeMacroblocks(extent_)) {
  const int count = static_cast<int>(std::clamp<std::size_t>(mostSlices, 1, mostBands));
  const int rows = (extent_.down + count - 1) / count;
  for (int row = 0; row < extent_.down; row += rows) {
    bands_.push_back({row, std::min(rows, extent_.down - row), std::nullopt, 0});
  }
}

std::optional<h264::Bytes> KeyFrameComposer::compose(const Nv12Image& image,
                                                     const Planes& reconstruction,
                                                     const Request& request) {
  h264::Bytes units;
  for (Band& band : bands_) {
    if (!bringUpToDate(band, image, request.quantiser)) return std::nullopt;
    h264::BitWriter slice;
    const auto first = static_cast<std::uint32_t>(band.row * extent_.across);
    h264::writeSliceHeader(slice, syntax_, {first, 0, band.data->quantiser, request.identifier});
    slice.copy(band.data->raw, band.data->from, band.data->to);
    h264::appendUnit(units, h264::escaped(slice.finished()));
  }
  copyMacroblocks(made_.planes().view(), reconstruction, extent_);
  restoreBorder(reconstruction, extent_);
  return units;
}

bool KeyFrameComposer::bringUpToDate(Band& band, const Nv12Image& image, int quantiser) {
  const int top = band.row * macroblockEdge;
  const int height =
      std::min(band.rows * macroblockEdge, static_cast<int>(image.size().height) - top);
  const PlanesView pixels = image.planes().from(0, top);
  const bool isUpToDate =
      band.data && band.quantiser == quantiser && looksTheSame(pixels, band.row, height);
  return isUpToDate || encode(band, pixels, height, quantiser);
}

bool KeyFrameComposer::looksTheSame(const PlanesView& pixels, int row, int height) const {
  const auto bytes = static_cast<std::size_t>(settings_.width);
  const PlanesView known = pixels_.planes().from(0, row * macroblockEdge);
  return sameRows(pixels.luma, pixels.lumaStride, known.luma, known.lumaStride, bytes, height) &&
         sameRows(pixels.chroma, pixels.chromaStride, known.chroma, known.chromaStride, bytes,
                  height / 2);
}

bool KeyFrameComposer::encode(Band& band, const PlanesView& pixels, int height, int quantiser) {
  band.data.reset();
  X264Encoder* const encoder = encoderOf(height);
  if (encoder == nullptr) return false;
  X264Encoder::Request request;
  request.keyFrame = true;
  request.quantiser = quantiser;
  const auto units = encoder->encode(pixels, request);
  if (!units) return false;
  const auto all = h264::unitsOf(*units);
  if (all.size() != 1) return false;
  band.data = h264::keySliceData(all.front(), syntax_);
  if (!band.data) return false;
  band.quantiser = quantiser;

  const int top = band.row * macroblockEdge;
  const auto bytes = static_cast<std::size_t>(settings_.width);
  const Planes known = pixels_.planes().from(0, top);
  copyRows(pixels.luma, pixels.lumaStride, known.luma, known.lumaStride, bytes, height);
  copyRows(pixels.chroma, pixels.chromaStride, known.chroma, known.chromaStride, bytes, height / 2);
  copyMacroblocks(encoder->reconstruction().view(), made_.planes().from(0, top),
                  {extent_.across, band.rows});
  return true;
}

X264Encoder* KeyFrameComposer::encoderOf(int height) {
  const auto found = encoders_.find(height);
  if (found != encoders_.end()) return &found->second;
  X264Settings settings = settings_;
  settings.height = height;
  X264Encoder encoder(settings);
  const auto& sets = encoder.parameterSets();
  if (!encoder || sets.size() != 2 || h264::sliceSyntax(sets[0], sets[1]) != syntax_) {
    return nullptr;
  }
  return &encoders_.emplace(height, std::move(encoder)).first->second;
}

}  // namespace vesk::picture::composed
