#include "platform/macos/MacDisplays.h"

#include <CoreGraphics/CoreGraphics.h>

#include "platform/macos/Retained.h"

namespace vesk::mac {
namespace {

PixelSize pixelSize(std::size_t width, std::size_t height) {
  return {static_cast<std::int64_t>(width), static_cast<std::int64_t>(height)};
}

}  // namespace

DisplayId MacDisplays::mainDisplay() { return CGMainDisplayID(); }

Rect MacDisplays::bounds(DisplayId display) {
  const CGRect bounds = CGDisplayBounds(display);
  return {{bounds.origin.x, bounds.origin.y}, bounds.size.width, bounds.size.height};
}

PixelSize MacDisplays::pixels(DisplayId display) {
  return pixelSize(CGDisplayPixelsWide(display), CGDisplayPixelsHigh(display));
}

std::optional<PixelSize> MacDisplays::modePixels(DisplayId display) {
  const auto mode = adopt(CGDisplayCopyDisplayMode(display));
  if (!mode) return std::nullopt;
  return pixelSize(CGDisplayModeGetPixelWidth(mode.get()), CGDisplayModeGetPixelHeight(mode.get()));
}

}  // namespace vesk::mac
