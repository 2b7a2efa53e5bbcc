#include "platform/macos/MacOverlays.h"

#import <AppKit/AppKit.h>

#include "platform/macos/MacOverlay.h"
#include "platform/macos/flipped.h"

namespace vesk::mac {
namespace {

/// The first screen of the list is the one in whose corner the coordinates begin.
double primaryHeight() {
  NSScreen* const primary = NSScreen.screens.firstObject;
  return primary == nil ? 0 : primary.frame.size.height;
}

std::optional<DisplayId> numberOf(NSScreen* _Nonnull screen) {
  const id number = screen.deviceDescription[@"NSScreenNumber"];
  if (![number isKindOfClass:[NSNumber class]]) return std::nullopt;
  return static_cast<NSNumber*>(number).unsignedIntValue;
}

Screen screenOf(NSScreen* _Nonnull screen) {
  const NSRect frame = screen.frame;
  const Rect upwards{{frame.origin.x, frame.origin.y}, frame.size.width, frame.size.height};
  return {numberOf(screen), flipped(upwards, primaryHeight())};
}

}  // namespace

std::vector<Screen> MacOverlays::screens() {
  std::vector<Screen> found;
  for (NSScreen* screen in NSScreen.screens) found.push_back(screenOf(screen));
  return found;
}

std::optional<Screen> MacOverlays::mainScreen() {
  NSScreen* const screen = NSScreen.mainScreen;
  if (screen == nil) return std::nullopt;
  return screenOf(static_cast<NSScreen* _Nonnull>(screen));
}

std::unique_ptr<Overlay> MacOverlays::makeOverlay(const OverlayAppearance& appearance) {
  return std::make_unique<MacOverlay>(appearance, primaryHeight());
}

}  // namespace vesk::mac
