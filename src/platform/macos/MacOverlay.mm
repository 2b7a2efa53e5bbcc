#include "platform/macos/MacOverlay.h"

#import <QuartzCore/QuartzCore.h>

#include "platform/macos/Text.h"
#include "platform/macos/flipped.h"
#include "platform/macos/guarded.h"

namespace vesk::mac {
namespace {

NSRect nsRect(const Rect& rect) {
  return NSMakeRect(rect.origin.x, rect.origin.y, rect.width, rect.height);
}

NSColor* _Nonnull colourOf(const Colour& colour) {
  NSColor* const opaque = [NSColor colorWithCalibratedRed:colour.red
                                                    green:colour.green
                                                     blue:colour.blue
                                                    alpha:1];
  return [opaque colorWithAlphaComponent:colour.alpha];
}

NSWindow* _Nonnull makeWindow(const OverlayAppearance& appearance, double primaryHeight) {
  NSWindow* const window =
      [[NSWindow alloc] initWithContentRect:nsRect(flipped(appearance.frame, primaryHeight))
                                  styleMask:NSWindowStyleMaskBorderless
                                    backing:NSBackingStoreBuffered
                                      defer:NO];
  // Closing would let go of the window a second time: this program's own reference counts.
  window.releasedWhenClosed = NO;
  window.opaque = NO;
  window.backgroundColor = NSColor.clearColor;
  window.hasShadow = NO;
  window.ignoresMouseEvents = YES;
  window.level = static_cast<NSWindowLevel>(appearance.level);
  window.collectionBehavior = appearance.collectionBehavior;
  return window;
}

void paint(CALayer* _Nullable layer, const OverlayAppearance& appearance) {
  if (appearance.border) {
    layer.borderColor = colourOf(appearance.border->colour).CGColor;
    layer.borderWidth = appearance.border->width;
  }
  if (appearance.background) layer.backgroundColor = colourOf(*appearance.background).CGColor;
  if (appearance.bottomCornerRadius > 0) {
    layer.cornerRadius = appearance.bottomCornerRadius;
    layer.maskedCorners = kCALayerMinXMinYCorner | kCALayerMaxXMinYCorner;
  }
}

NSView* _Nonnull makeView(const OverlayAppearance& appearance) {
  NSView* const view = [[NSView alloc]
      initWithFrame:NSMakeRect(0, 0, appearance.frame.width, appearance.frame.height)];
  // Before that a view has no layer, and what is set on it is lost.
  view.wantsLayer = YES;
  paint(view.layer, appearance);
  return view;
}

NSTextField* _Nonnull makeLabel(const OverlayLabel& appearance, double height) {
  NSTextField* const label = [NSTextField labelWithString:@""];
  label.font =
      [NSFont systemFontOfSize:appearance.fontSize
                        weight:appearance.semibold ? NSFontWeightSemibold : NSFontWeightRegular];
  label.textColor = NSColor.whiteColor;
  label.alignment = NSTextAlignmentCenter;
  label.lineBreakMode = NSLineBreakByTruncatingMiddle;
  label.frame = nsRect(flipped(appearance.frame, height));
  return label;
}

}  // namespace

/// Where the system refuses, there is no window, and nothing is shown.
MacOverlay::MacOverlay(const OverlayAppearance& appearance, double primaryHeight) {
  guarded([&] {
    NSWindow* const window = makeWindow(appearance, primaryHeight);
    NSView* const view = makeView(appearance);
    if (appearance.label) {
      NSTextField* const label = makeLabel(*appearance.label, appearance.frame.height);
      [view addSubview:label];
      label_ = label;
    }
    window.contentView = view;
    window_ = window;
  });
}

MacOverlay::~MacOverlay() { orderOut(); }

void MacOverlay::orderFrontRegardless() {
  guarded([this] { [window_ orderFrontRegardless]; });
}

void MacOverlay::orderOut() {
  guarded([this] { [window_ orderOut:nil]; });
}

void MacOverlay::setLabel(const std::string& text) {
  guarded([&] { label_.stringValue = toNSString(text); });
}

}  // namespace vesk::mac
