#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/Overlays.h"
#include "platform/linux/banner/StripPicture.h"
#include "platform/linux/x11/overlay/OverlayStack.h"
#include "platform/linux/x11/overlay/OverlayWindow.h"

namespace vesk::x11::overlay {

/// One overlay: a window for its background and label, and one for each edge of its border. One
/// window as large as the screen would pass for a full-screen program.
///
/// Thread: main. Owns: its windows, and its share of the stack. See `Overlay`.
class XOverlay final : public Overlay {
 public:
  /// `scale` is the pixels of a point; `ownWindows` outlives the overlay.
  XOverlay(std::shared_ptr<OverlayStack> stack, beneath::OwnWindows& ownWindows,
           const OverlayAppearance& appearance, double scale);
  ~XOverlay() override;

  void orderFrontRegardless() override;
  void orderOut() override;
  void setLabel(const std::string& text) override;

  /// From top to bottom.
  std::vector<xcb_window_t> windows() const;

  /// The shape of what it shows of its background; nothing without one.
  std::optional<banner::Tab> tab() const;

  /// Leaves room in its border for the overlays that have come above it, unless they are fainter.
  void paintBorder();

  /// Makes everything look as it has to with, or without, a compositor.
  void adapt();

  /// Puts other windows in the place of its windows, which come up as any that is new.
  void mapAnew();

  /// Whether it shows something in that part of the root window.
  bool meets(const PixelRect& part) const;

 private:
  std::int32_t borderThickness() const;
  double cornerRadius() const;
  void makeWindows();
  void paint();
  void mapWindows();
  Colour asBlended(Colour colour) const;
  bool isTranslucent(const OverlayWindow& window) const;
  void paintBackground();

  std::shared_ptr<OverlayStack> stack_;
  OverlayAppearance appearance_;
  double scale_;
  beneath::OwnWindows& ownWindows_;
  PixelRect frame_;
  std::string text_;
  bool inFront_ = false;
  OverlayWindow::Kind kind_ = OverlayWindow::Kind::translucent;
  std::string_view type_;
  std::unique_ptr<OverlayWindow> background_;
  std::vector<std::unique_ptr<OverlayWindow>> edges_;
};

}  // namespace vesk::x11::overlay
