#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/Displays.h"
#include "platform/Geometry.h"
#include "platform/WindowLevel.h"

namespace vesk {

/// One screen as windows see it. `frame` is the whole display, in the points that windows are
/// placed in: on a scaled screen fewer than its pixels.
struct Screen {
  std::optional<DisplayId> screenNumber;
  Rect frame;
  bool operator==(const Screen&) const = default;
};

/// Calibrated RGB, each from 0 to 1.
struct Colour {
  double red = 0;
  double green = 0;
  double blue = 0;
  double alpha = 1;
  bool operator==(const Colour&) const = default;
};

/// How a window takes part in workspaces and window lists; a mask of the Mac's own bits.
using CollectionBehavior = std::uint32_t;

namespace collectionBehavior {
inline constexpr CollectionBehavior canJoinAllSpaces = 1 << 0;
inline constexpr CollectionBehavior stationary = 1 << 4;
inline constexpr CollectionBehavior ignoresCycle = 1 << 6;
inline constexpr CollectionBehavior fullScreenAuxiliary = 1 << 8;
}  // namespace collectionBehavior

struct OverlayBorder {
  Colour colour;
  double width = 0;  ///< points, drawn inside the frame
  bool operator==(const OverlayBorder&) const = default;
};

/// White, centred, one line of plain text in the system's font; a text too long for the frame loses
/// whole characters from its middle.
struct OverlayLabel {
  Rect frame;  ///< in the window, origin at its top-left corner
  double fontSize = 0;
  bool semibold = false;
  bool operator==(const OverlayLabel&) const = default;
};

/// A window without title, shadow or anything else that is not named here: what is neither
/// background, border nor text is transparent. No mouse event reaches it, no key goes to it.
struct OverlayAppearance {
  Rect frame;
  WindowLevel level = WindowLevel::screenSaver;
  CollectionBehavior collectionBehavior = 0;
  std::optional<Colour> background;
  double bottomCornerRadius = 0;  ///< of the background's two lower corners
  std::optional<OverlayBorder> border;
  std::optional<OverlayLabel> label;
  bool operator==(const OverlayAppearance&) const = default;
};

/// Thread: main. Owns: its window, which is gone when the object is.
/// Fails: in silence; where the window system refuses, nothing is shown.
/// Stays above every other window on every workspace while it is ordered front.
class Overlay {
 public:
  virtual ~Overlay() = default;

  /// When it returns, the window system has put the window on the screen.
  virtual void orderFrontRegardless() = 0;
  virtual void orderOut() = 0;

  /// Does nothing without a label.
  virtual void setLabel(const std::string& text) = 0;
};

/// Thread: main. Owns: nothing of what it makes; outlives it.
class Overlays {
 public:
  virtual ~Overlays() = default;

  /// In the window system's order.
  virtual std::vector<Screen> screens() = 0;

  /// The screen that windows open on by default, or nothing when there is none.
  virtual std::optional<Screen> mainScreen() = 0;

  /// A window that is not shown yet.
  virtual std::unique_ptr<Overlay> makeOverlay(const OverlayAppearance& appearance) = 0;
};

}  // namespace vesk
