#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/Overlays.h"
#include "platform/linux/banner/StripPicture.h"
#include "platform/linux/wayland/overlay/LayerStack.h"
#include "platform/linux/wayland/overlay/LayerSurface.h"

namespace vesk::wayland::overlay {

/// One overlay: a surface for its background and label, and one for each edge of its border, so
/// that nothing lies over the rest of the screen. What it shows within its frame can be seen
/// through, if only just: whoever takes the picture without it works out what is beneath. A border
/// is as opaque as was asked for.
///
/// It lies on the output that its middle is on; when the outputs change, it goes along.
///
/// Thread: main. Owns: its surfaces, and its share of the stack. See `Overlay`.
class LayerOverlay final : public Overlay {
 public:
  LayerOverlay(std::shared_ptr<LayerStack> stack, const OverlayAppearance& appearance);
  ~LayerOverlay() override;

  void orderFrontRegardless() override;
  void orderOut() override;
  void setLabel(const std::string& text) override;

  /// Everything as it is to look between the other overlays; within a change.
  void paint();

  /// Makes its surfaces anew where the output is not what they were made for.
  void adapt();

  /// Whether all that it was made of is in sight, or there is no output for it.
  bool isWhole() const;

 private:
  LayerArea area() const;
  std::vector<PixelRect> edgeAreas() const;
  void makeSurfaces();
  void paintBorder();
  void paintBackground();
  std::optional<banner::Tab> tab() const;
  banner::StripPicture tabPicture(const Colour& colour) const;
  void underlay(QImage& picture, const LayerOverlay& border) const;

  std::shared_ptr<LayerStack> stack_;
  OverlayAppearance appearance_;
  std::string text_;
  bool inFront_ = false;
  std::optional<server::Output> output_;  ///< that it is shown on
  std::unique_ptr<LayerSurface> background_;
  std::vector<std::unique_ptr<LayerSurface>> edges_;
};

}  // namespace vesk::wayland::overlay
