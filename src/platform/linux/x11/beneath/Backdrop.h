#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "platform/linux/x11/beneath/ClearedRoot.h"
#include "platform/linux/x11/beneath/Patches.h"
#include "platform/linux/x11/beneath/RootBackground.h"
#include "platform/linux/x11/beneath/Traces.h"
#include "platform/linux/x11/beneath/WindowStack.h"

namespace vesk::x11::beneath {

/// The picture of the screen as it was last taken, without own windows.
struct Seen {
  const server::SharedPixels& picture;
  PixelRect unsure;  ///< of the root window, where that may not be so
};

/// What is seen where no window is: who shows it, whether it was replaced, and how it gets beneath
/// the patches.
///
/// Thread: one at a time. Owns: nothing; the connection outlives it. Fails: as a plain colour.
class Backdrop {
 public:
  /// `area` is the monitor's in the root window.
  Backdrop(const server::Connection& connection, const PixelRect& area)
      : background_(connection), connection_(connection), area_(area), cleared_(area) {}

  void watch() { background_.watch(); }

  /// Whether the event tells that it was replaced.
  bool handle(const xcb_generic_event_t& event);

  /// Whether it was since the patches were painted last.
  bool isReplaced() const { return replaced_; }

  /// Takes in the windows as they have been read, once each time.
  void follow(const WindowStack& stack, Traces::Time now);

  /// Takes in that the picture shows the screen as it was then.
  void confirm(Traces::Time when) { traces_.forgetUntil(when); }

  /// When a picture may next show more of it, though nothing is drawn; in the far future where all
  /// windows have stood still for long enough.
  Traces::Time overdueAt() const { return traces_.overdueAt(); }

  /// Takes in what was drawn in sight, and before it is in the picture.
  void noteDrawn(const std::vector<PixelRect>& drawn, const Seen& seen);

  /// Takes in that it is.
  void look(const server::SharedPixels& picture);

  /// Whether nothing was known of it beneath some patch, and there is something to go by now.
  bool isInSightAtLast() const { return !unknown_.empty() && !bareParts().empty(); }

  /// Paints it beneath patches, which take the place of those `before`. Where no window has hidden
  /// the root window, what was seen shows best what is there. Waits for the server.
  void paint(const Patches& patches, const Patches& before, const Seen& seen);

 private:
  void noteTraces(Traces::Time now);
  std::vector<PixelRect> keep(Patch& patch, const Patches& before, const Seen& seen) const;
  std::vector<PixelRect> bareParts() const;
  std::optional<std::uint32_t> colourFor(const PixelRect& part, const std::vector<PixelRect>& bare,
                                         const Seen& seen) const;
  std::vector<PixelRect> inSight(const PixelRect& part, const Seen& seen) const;

  RootBackground background_;
  const server::Connection& connection_;
  PixelRect area_;
  ClearedRoot cleared_;
  RootBackground::Painter painter_ = RootBackground::Painter::server;
  bool composited_ = false;
  bool replaced_ = false;
  std::vector<StackedWindow> windows_;
  bool windowsAreNew_ = false;                ///< nothing was drawn since
  std::vector<StackedWindow> windowsBefore_;  ///< when the picture was taken
  std::vector<PixelRect> covered_;            ///< by the patches
  std::vector<PixelRect> unknown_;            ///< beneath them, of no colour that was in sight
  Traces traces_;                             ///< of other windows, that it may show
};

}  // namespace vesk::x11::beneath
