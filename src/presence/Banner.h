#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "link/Message.h"
#include "platform/Displays.h"
#include "platform/Overlays.h"

namespace vesk {

/// Tells the person that somebody watches: a red border around the main display, and a strip with
/// the viewer's name at its top edge.
///
/// Thread: main. Owns: its windows, from `show` to `hide`. Fails: in silence; without a screen
/// nothing is shown. The windows stay where they are when the displays change.
class Banner {
 public:
  /// How strong the banner is; a zero switches the element off.
  struct Style {
    std::int64_t stripOpacity = 100;   ///< percent
    std::int64_t borderOpacity = 80;   ///< percent
    std::int64_t borderThickness = 8;  ///< points

    Style() = default;

    /// Reads "strip", "border" and "thickness", each by itself: held to its range where it is an
    /// integer, the default where it is not.
    explicit Style(const std::optional<Message>& banner);

    bool operator==(const Style&) const = default;
  };

  /// Both outlive the banner.
  Banner(Displays& displays, Overlays& overlays) : displays_(displays), overlays_(overlays) {}

  /// Replaces what is shown.
  void show(const std::string& viewer, const Style& style);

  /// Harmless when nothing is shown.
  void hide();

  /// Changes the name in the strip; does nothing where no strip is shown.
  void setViewer(const std::string& name);

 private:
  std::optional<Screen> screen();
  void showBorder(const Rect& screen, const Style& style);
  void showStrip(const Rect& screen, const Style& style);

  Displays& displays_;
  Overlays& overlays_;
  std::unique_ptr<Overlay> strip_;
  std::unique_ptr<Overlay> border_;
};

}  // namespace vesk
