#include "platform/linux/picture/composed/reconstructionIsReference.h"

#include "platform/linux/picture/X264Encoder.h"
#include "platform/linux/picture/composed/surroundings.h"

namespace vesk::picture::composed {
namespace {

constexpr Extent tested{4, 4};

/// Pixels that nothing foretells, away from the ends of their range.
void fillWithNoise(const Planes& picture) {
  std::uint32_t state = 1;
  const auto next = [&] {
    state = state * 1664525 + 1013904223;
    return static_cast<std::uint8_t>(32 + (state >> 24) / 2);
  };
  for (int y = 0; y < tested.down * macroblockEdge; ++y) {
    for (int x = 0; x < tested.across * macroblockEdge; ++x) {
      *picture.lumaAt(x, y) = next();
      if (y % 2 == 0) *picture.chromaAt(x, y) = next();
    }
  }
}

}  // namespace

bool reconstructionIsReference() {
  X264Settings settings;
  settings.width = tested.across * macroblockEdge;
  settings.height = tested.down * macroblockEdge;
  X264Encoder encoder(settings);
  Nv12Image image({settings.width, settings.height});
  X264Encoder::Request request;
  request.keyFrame = true;
  request.quantiser = settings.quantisers.worst;
  if (!encoder || !encoder.encode(image, request)) return false;

  fillWithNoise(image.planes());
  copyMacroblocks(image.planes().view(), encoder.reconstruction(), tested);
  restoreBorder(encoder.reconstruction(), tested);
  request.keyFrame = false;
  request.quantiser = settings.quantisers.finest;
  const auto repeated = encoder.encode(image, request);
  constexpr std::size_t nothingButSkipped = 20;  // bytes; hundreds of times as many otherwise
  return repeated && repeated->size() <= nothingButSkipped;
}

}  // namespace vesk::picture::composed
