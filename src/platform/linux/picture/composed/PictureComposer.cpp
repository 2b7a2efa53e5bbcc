#include "platform/linux/picture/composed/PictureComposer.h"

#include <cstdlib>

#include "platform/linux/picture/composed/ComposedPicture.h"
#include "platform/linux/picture/composed/planeRows.h"
#include "platform/linux/picture/composed/shiftedPlanes.h"

namespace vesk::picture::composed {
namespace {

constexpr std::size_t macroblockBytes = macroblockEdge * macroblockEdge * 3 / 2;

/// The pixels of a window, rows without a gap.
Planes planesOf(std::uint8_t* bytes, int macroblocks) {
  const std::ptrdiff_t stride = static_cast<std::ptrdiff_t>(macroblocks) * macroblockEdge;
  return {bytes, bytes + stride * macroblockEdge, stride, stride};
}

Planes placeIn(const Planes& picture, const Run& window) {
  return picture.from(window.first * macroblockEdge, window.row * macroblockEdge);
}

std::size_t bytesOf(const Run& window) {
  return static_cast<std::size_t>(window.count) * macroblockBytes;
}

bool sameMacroblock(const PlanesView& a, const PlanesView& b) {
  return sameRows(a.luma, a.lumaStride, b.luma, b.lumaStride, macroblockEdge, macroblockEdge) &&
         sameRows(a.chroma, a.chromaStride, b.chroma, b.chromaStride, macroblockEdge,
                  macroblockEdge / 2);
}

/// Whether what lies beside a window has come from so near that a part of it may be found around
/// the window's place in the picture before.
bool isInSurroundings(const Shift& shift) {
  return std::abs(shift.right) < borderWidth && std::abs(shift.down) < borderWidth;
}

}  // namespace

PictureComposer::PictureComposer(const X264Settings& settings, const h264::SliceSyntax& syntax)
    : settings_(settings),
      syntax_(syntax),
      extent_{macroblocksAcross(settings.width), macroblocksAcross(settings.height)} {}

std::optional<h264::Bytes> PictureComposer::compose(const Nv12Image& image,
                                                    const Planes& reconstruction,
                                                    const Request& request) {
  const auto across = static_cast<std::uint32_t>(extent_.across);
  ComposedPicture picture(syntax_, request.frameNumber,
                          across * static_cast<std::uint32_t>(extent_.down), request.moved);
  const bool searchesFar =
      request.searchesFar && request.moved != nullptr && isInSurroundings(request.moved->shift);
  results_.clear();
  for (const Run& window : request.windows) {
    TinyEncoder* encoder = encoderOf(window.count);
    if (encoder == nullptr) return std::nullopt;
    const auto data = encoder->encode(image, reconstruction.view(),
                                      {window, request.unchanged, request.quantiser, searchesFar});
    if (!data) return std::nullopt;
    // Every window refers to the picture before, so that is not touched until all are done.
    results_.resize(results_.size() + bytesOf(window));
    const Planes result =
        planesOf(results_.data() + results_.size() - bytesOf(window), window.count);
    copyMacroblocks(encoder->reconstruction().view(), result, {window.count, 1});
    const int last = (window.count - 1) * macroblockEdge;
    const bool endsEncoded = !sameMacroblock(result.from(last, 0).view(),
                                             placeIn(reconstruction, window).from(last, 0).view());
    picture.add(
        {static_cast<std::uint32_t>(window.row) * across + static_cast<std::uint32_t>(window.first),
         static_cast<std::uint32_t>(window.count), endsEncoded},
        *data);
  }
  layInto(reconstruction, request);
  return picture.finished();
}

TinyEncoder* PictureComposer::encoderOf(int width) {
  const auto [at, isNew] = encoders_.try_emplace(width, settings_, width);
  TinyEncoder& encoder = at->second;
  return encoder && encoder.syntax() == syntax_ ? &encoder : nullptr;
}

void PictureComposer::layInto(const Planes& reconstruction, const Request& request) {
  if (request.moved != nullptr) shift(reconstruction, *request.moved);
  std::uint8_t* result = results_.data();
  bool atEdge = request.moved != nullptr;
  for (const Run& window : request.windows) {
    copyMacroblocks(planesOf(result, window.count).view(), placeIn(reconstruction, window),
                    {window.count, 1});
    result += bytesOf(window);
    atEdge = atEdge || window.first == 0 || window.end() == extent_.across || window.row == 0 ||
             window.row == extent_.down - 1;
  }
  if (atEdge) restoreBorder(reconstruction, extent_);
}

}  // namespace vesk::picture::composed
