#pragma once

#import <AppKit/AppKit.h>

#include "platform/Overlays.h"

namespace vesk::mac {

/// One borderless window whose layer draws background and border; see `Overlay`.
class MacOverlay final : public Overlay {
 public:
  /// `primaryHeight` is the height of the screen in whose corner the coordinates begin.
  MacOverlay(const OverlayAppearance& appearance, double primaryHeight);
  ~MacOverlay() override;
  MacOverlay(const MacOverlay&) = delete;
  MacOverlay& operator=(const MacOverlay&) = delete;

  void orderFrontRegardless() override;
  void orderOut() override;
  void setLabel(const std::string& text) override;

 private:
  NSWindow* window_ = nil;
  NSTextField* label_ = nil;
};

}  // namespace vesk::mac
