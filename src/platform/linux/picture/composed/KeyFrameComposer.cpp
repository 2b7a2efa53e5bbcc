#include "platform/linux/picture/composed/KeyFrameComposer.h"

#include <algorithm>
#include <random>
#include <utility>

#include "platform/linux/picture/composed/planeRows.h"
#include "platform/linux/picture/h264/emulationPrevention.h"
#include "platform/linux/picture/h264/units.h"

namespace vesk::picture::composed {
namespace {

/// More of them keep more of a picture in which little has changed, and take more bits: nothing is
/// foretold across the border between two.
constexpr std::size_t mostBands = 17;

PixelSize wholeMacroblocks(const Extent& extent) {
  return {std::int64_t{extent.across} * macroblockEdge, std::int64_t{extent.down} * macroblockEdge};
}

/// Some rows, below the last of which that goes on.
Nv12Image goneOn(const PlanesView& pixels, int width, int height, int wholeHeight) {
  Nv12Image whole({width, wholeHeight});
  const Planes to = whole.planes();
  const auto bytes = static_cast<std::size_t>(width);
  copyRows(pixels.luma, pixels.lumaStride, to.luma, to.lumaStride, bytes, height);
  copyRows(pixels.chroma, pixels.chromaStride, to.chroma, to.chromaStride, bytes, height / 2);
  copyRows(to.lumaAt(0, height - 1), 0, to.lumaAt(0, height), to.lumaStride, bytes,
           wholeHeight - height);
  copyRows(to.chromaAt(0, height - 2), 0, to.chromaAt(0, height), to.chromaStride, bytes,
           (wholeHeight - height) / 2);
  return whole;
}

/// All of the same height if there is one, so that one encoder does for all of them.
int rowsOfBands(int down, std::size_t most) {
  const int fewest = (down + static_cast<int>(most) - 1) / static_cast<int>(most);
  for (int rows = fewest; rows <= 2 * fewest; ++rows) {
    if (down % rows == 0) return rows;
  }
  return fewest;
}

}  // namespace

KeyFrameComposer::KeyFrameComposer(const X264Settings& settings, const h264::SliceSyntax& syntax,
                                   std::size_t mostSlices)
    : settings_(settings),
      syntax_(syntax),
      extent_{macroblocksAcross(settings.width), macroblocksAcross(settings.height)},
      seed_(std::random_device()()),
      made_(wholeMacroblocks(extent_)) {
  const int rows = rowsOfBands(extent_.down, std::clamp<std::size_t>(mostSlices, 1, mostBands));
  for (int row = 0; row < extent_.down; row += rows) {
    Band band;
    band.row = row;
    band.rows = std::min(rows, extent_.down - row);
    bands_.push_back(std::move(band));
  }
}

std::optional<h264::Bytes> KeyFrameComposer::compose(const Nv12Image& image,
                                                     const Planes& reconstruction,
                                                     const Request& request) {
  h264::Bytes units;
  for (Band& band : bands_) {
    if (!bringUpToDate(band, image, request.quantiser)) return std::nullopt;
    append(band, request.identifier, units);
  }
  copyMacroblocks(made_.planes().view(), reconstruction, extent_);
  restoreBorder(reconstruction, extent_);
  return units;
}

void KeyFrameComposer::append(Band& band, std::uint32_t identifier, h264::Bytes& units) const {
  h264::Bytes& kept = band.units[identifier];
  h264::Bytes unit = kept.empty() ? unitOf(band, identifier) : std::move(kept);
  units.insert(units.end(), unit.begin(), unit.end());
  if (band.hasLasted) kept = std::move(unit);
}

/// A header is no whole number of bytes, so that all behind it is laid anew for each.
h264::Bytes KeyFrameComposer::unitOf(const Band& band, std::uint32_t identifier) const {
  h264::Bytes unit;
  h264::BitWriter slice;
  const auto first = static_cast<std::uint32_t>(band.row * extent_.across);
  h264::writeSliceHeader(slice, syntax_, {first, 0, band.data->quantiser, identifier});
  slice.copy(band.data->raw, band.data->from, band.data->to);
  h264::appendUnit(unit, h264::escaped(slice.finished()));
  return unit;
}

bool KeyFrameComposer::bringUpToDate(Band& band, const Nv12Image& image, int quantiser) {
  const int top = band.row * macroblockEdge;
  const int wholeHeight = band.rows * macroblockEdge;
  const int height = std::min(wholeHeight, static_cast<int>(image.size().height) - top);
  const PlanesView pixels = image.planes().from(0, top);
  const Digest digest(pixels, settings_.width, height, seed_);
  band.hasLasted = band.data && band.quantiser == quantiser && band.digest == digest;
  if (band.hasLasted) return true;
  band.digest = digest;
  band.quantiser = quantiser;
  if (height == wholeHeight) return encode(band, pixels);
  const Nv12Image padded = goneOn(pixels, settings_.width, height, wholeHeight);
  return encode(band, padded.planes());
}

bool KeyFrameComposer::encode(Band& band, const PlanesView& pixels) {
  band.data.reset();
  band.units.clear();
  X264Encoder* const encoder = encoderOf(band.rows);
  if (encoder == nullptr) return false;
  X264Encoder::Request request;
  request.keyFrame = true;
  request.quantiser = band.quantiser;
  const auto units = encoder->encode(pixels, request);
  if (!units) return false;
  const auto all = h264::unitsOf(*units);
  if (all.size() != 1) return false;
  band.data = h264::keySliceData(all.front(), syntax_);
  if (band.data) {
    copyMacroblocks(encoder->reconstruction().view(),
                    made_.planes().from(0, band.row * macroblockEdge), {extent_.across, band.rows});
  }
  return band.data.has_value();
}

X264Encoder* KeyFrameComposer::encoderOf(int rows) {
  const auto found = encoders_.find(rows);
  if (found != encoders_.end()) return &found->second;
  X264Settings settings = settings_;
  settings.height = rows * macroblockEdge;
  settings.farthestVector = 2 * borderWidth;  // nothing moves in a key frame
  X264Encoder encoder(settings);
  if (!encoder || h264::sliceSyntax(encoder.parameterSets()) != syntax_) return nullptr;
  return &encoders_.emplace(rows, std::move(encoder)).first->second;
}

}  // namespace vesk::picture::composed
