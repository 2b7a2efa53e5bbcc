#include "platform/linux/picture/composed/PictureComposer.h"

#include <cstdlib>
#include <utility>

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
  reserve(request.windows);
  for (const auto& stack : stacksOf(request.windows)) {
    // Every window refers to the picture before, so that is not touched until all are done.
    if (!encode(stack, image, reconstruction.view(), request)) return std::nullopt;
  }
  const auto across = static_cast<std::uint32_t>(extent_.across);
  ComposedPicture picture(syntax_, request.frameNumber,
                          across * static_cast<std::uint32_t>(extent_.down), request.moved);
  for (std::size_t i = 0; i < made_.size(); ++i) {
    const Run& window = request.windows[i];
    const int last = (window.count - 1) * macroblockEdge;
    const bool endsEncoded = !sameMacroblock(made_[i].pixels.from(last, 0).view(),
                                             placeIn(reconstruction, window).from(last, 0).view());
    picture.add(
        {static_cast<std::uint32_t>(window.row) * across + static_cast<std::uint32_t>(window.first),
         static_cast<std::uint32_t>(window.count), endsEncoded},
        made_[i].data);
  }
  layInto(reconstruction, request);
  return picture.finished();
}

/// Room for what the windows become.
void PictureComposer::reserve(std::span<const Run> windows) {
  std::size_t bytes = 0;
  for (const Run& window : windows) bytes += bytesOf(window);
  pixels_.resize(bytes);
  made_.clear();
  std::uint8_t* next = pixels_.data();
  for (const Run& window : windows) {
    made_.push_back({{}, planesOf(next, window.count)});
    next += bytesOf(window);
  }
}

bool PictureComposer::encode(const std::vector<std::size_t>& stack, const Nv12Image& image,
                             const PlanesView& reference, const Request& request) {
  const Run& top = request.windows[stack.front()];
  TinyEncoder* const encoder = encoderOf({top.count, static_cast<int>(stack.size())});
  if (encoder == nullptr) return false;
  const bool searchesFar =
      request.searchesFar && request.moved != nullptr && isInSurroundings(request.moved->shift);
  auto slices =
      encoder->encode(image, reference, {top, request.unchanged, request.quantiser, searchesFar});
  if (slices.size() != stack.size()) return false;
  for (std::size_t i = 0; i < stack.size(); ++i) {
    Made& made = made_[stack[i]];
    made.data = std::move(slices[i]);
    const Planes& all = encoder->reconstruction();
    copyMacroblocks(all.from(0, static_cast<int>(i) * macroblockEdge).view(), made.pixels,
                    {top.count, 1});
  }
  return true;
}

TinyEncoder* PictureComposer::encoderOf(const Extent& extent) {
  const std::pair key(extent.across, extent.down);
  const auto [at, isNew] = encoders_.try_emplace(key, settings_, extent);
  TinyEncoder& encoder = at->second;
  return encoder && encoder.syntax() == syntax_ ? &encoder : nullptr;
}

void PictureComposer::layInto(const Planes& reconstruction, const Request& request) {
  if (request.moved != nullptr) shift(reconstruction, *request.moved);
  bool atEdge = request.moved != nullptr;
  for (std::size_t i = 0; i < made_.size(); ++i) {
    const Run& window = request.windows[i];
    copyMacroblocks(made_[i].pixels.view(), placeIn(reconstruction, window), {window.count, 1});
    atEdge = atEdge || window.first == 0 || window.end() == extent_.across || window.row == 0 ||
             window.row == extent_.down - 1;
  }
  if (atEdge) restoreBorder(reconstruction, extent_);
}

}  // namespace vesk::picture::composed
