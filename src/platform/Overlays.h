#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/Alerts.h"
#include "platform/Displays.h"
#include "platform/Geometry.h"

namespace vesk {

/// One screen as windows see it. `frame` is the whole display, in points.
struct Screen {
  std::optional<DisplayId> screenNumber;
  Rect frame;
};

/// Calibrated RGB, each from 0 to 1.
struct Colour {
  double red = 0;
  double green = 0;
  double blue = 0;
  double alpha = 1;
  bool operator==(const Colour&) const = default;
};

struct OverlayBorder {
  Colour colour;
  double width = 0;  ///< points, drawn inside the frame
};

/// White, centred, one line; elided in the middle of nothing but whole characters.
struct OverlayLabel {
  Rect frame;  ///< in the window, origin at its top-left corner
  double fontSize = 0;
  bool semibold = false;
};

/// A borderless, shadowless window that no mouse event reaches and no key goes to.
struct OverlayAppearance {
  Rect frame;
  WindowLevel level = WindowLevel::screenSaver;
  std::uint32_t collectionBehavior = 0;  ///< the Mac's bits: all Spaces, stationary, …
  std::optional<Colour> background;
  double bottomCornerRadius = 0;
  std::optional<OverlayBorder> border;
  std::optional<OverlayLabel> label;
};

/// Thread: main. Owns: its window, which is gone when the object is.
/// Stays above every other window on every workspace while it is ordered front.
class Overlay {
 public:
  virtual ~Overlay() = default;

  virtual void orderFrontRegardless() = 0;
  virtual void orderOut() = 0;

  /// Does nothing without a label.
  virtual void setLabel(const std::string& text) = 0;
};

/// Thread: main. Owns: nothing of what it makes.
class Overlays {
 public:
  virtual ~Overlays() = default;

  virtual std::vector<Screen> screens() = 0;

  /// The screen that windows open on by default, or nothing when there is none.
  virtual std::optional<Screen> mainScreen() = 0;

  virtual std::unique_ptr<Overlay> makeOverlay(const OverlayAppearance& appearance) = 0;
};

}  // namespace vesk
