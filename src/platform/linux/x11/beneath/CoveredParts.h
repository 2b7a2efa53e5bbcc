#pragma once

#include <xcb/xcb.h>

#include <utility>
#include <vector>

#include "platform/linux/x11/beneath/OwnWindows.h"
#include "platform/linux/x11/beneath/StackedWindow.h"
#include "platform/linux/x11/beneath/Traces.h"
#include "platform/linux/x11/server/rectangles.h"

namespace vesk::x11::beneath {

/// The parts of a monitor that own windows cover, and for a moment those that they have left: a
/// compositor draws when it likes, and some let windows fade away. Everything in the root window.
///
/// Thread: one at a time. Fails: never.
class CoveredParts {
 public:
  using Time = Traces::Time;

  /// `left` are those that have just left the screen when nobody took in anything yet.
  explicit CoveredParts(const PixelRect& area, std::vector<OwnWindows::Left> left = {})
      : area_(area), leftBefore_(std::move(left)) {}

  /// Takes in the windows as they have been read, and whether a compositor shows them. The parts
  /// from now on, each pixel once.
  std::vector<PixelRect> update(const std::vector<StackedWindow>& windows, bool composited,
                                Time now);

  /// Takes in that a window moves, if the event tells so.
  void handle(const xcb_generic_event_t& event, Time now);

  /// Whether a part that was left counts no more. Nothing else tells of that moment.
  bool isOverdue(Time now) const { return overdueAt() <= now; }

  /// When that will be so next; in the far future where none was left.
  Time overdueAt() const { return left_.overdueAt(); }

 private:
  PixelRect partOf(const StackedWindow& window) const;

  PixelRect area_;
  std::vector<OwnWindows::Left> leftBefore_;
  bool composited_ = false;
  std::vector<StackedWindow> own_;
  std::vector<PixelRect> covered_;  ///< by them now
  Traces left_;
};

}  // namespace vesk::x11::beneath
