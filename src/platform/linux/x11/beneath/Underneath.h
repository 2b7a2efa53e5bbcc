#pragma once

#include <xcb/xfixes.h>

#include <algorithm>
#include <memory>
#include <vector>

#include "platform/linux/x11/beneath/Backdrop.h"
#include "platform/linux/x11/beneath/CoveredParts.h"
#include "platform/linux/x11/beneath/DamageBeneath.h"
#include "platform/linux/x11/beneath/Disturbance.h"
#include "platform/linux/x11/beneath/FramesBeneath.h"
#include "platform/linux/x11/beneath/Patches.h"
#include "platform/linux/x11/beneath/PictureFormats.h"
#include "platform/linux/x11/beneath/Traces.h"
#include "platform/linux/x11/beneath/WindowStack.h"
#include "platform/linux/x11/beneath/WindowsBeneath.h"

namespace vesk::x11::beneath {

/// What a monitor would show without the program's own windows. The server keeps the contents of
/// all windows, whether or not they are covered, from the moment that this object is made: an own
/// window that opens later has hidden nothing. Where own windows are, the picture is composed of
/// what lies beneath them, and only what has changed there is composed anew.
///
/// It is what the room shows to others. Its part is the order in which the others of the room learn
/// what has happened.
///
/// Thread: one at a time. Owns: the server's resources; what is given to the constructor outlives
/// it. Fails: by leaving the own windows in, on a server that cannot compose.
class Underneath {
 public:
  /// `area` is the monitor's in the root window. The connection's owner hands on every event.
  Underneath(const server::Connection& connection, const OwnWindows& ownWindows,
             const PixelRect& area);
  ~Underneath();
  Underneath(const Underneath&) = delete;
  Underneath& operator=(const Underneath&) = delete;

  /// Whether something may look different beneath the own windows.
  bool handle(const xcb_generic_event_t& event);

  /// Whether own windows are shown, or could be at any moment.
  bool isNeeded() const { return !patches_->isEmpty() || stack_.expectsOwnWindows(); }

  /// Whether windows have opened, moved or gone, or the wallpaper was replaced, since the stack was
  /// read.
  bool isStale() const { return stack_.isStale() || backdrop_.isReplaced() || isOverdue(); }

  /// Whether what own windows have left is to be looked at, or a background is in sight of which
  /// nothing was known. Nothing else tells of that moment.
  bool isOverdue() const;

  /// Takes in that the picture shows the screen as it was then.
  void confirm(Traces::Time when) { backdrop_.confirm(when); }

  /// When that will be so next, or a picture in which nothing has changed is worth to be confirmed;
  /// in the far future where nothing is left.
  Traces::Time overdueAt() const { return std::min(covered_.overdueAt(), backdrop_.overdueAt()); }

  /// Whether something was drawn in the windows beneath the own ones.
  bool isDamaged() const { return damage_.isWaiting(); }

  /// How far what has happened since the stack was read spoils what has been asked for since.
  Disturbance disturbance() const { return disturbance_; }

  /// Reads the stack of windows. What was covered, and what is from now on, differs then from what
  /// was there before: those parts of the root window are given back.
  std::vector<PixelRect> readStack(const Seen& seen);

  /// Takes out of a region of the root window what the own windows cover.
  void cutOut(xcb_xfixes_region_t region) const;

  /// What was drawn beneath the own windows since this was asked last, given what was `drawn` in
  /// sight, in the root window, and is not in the picture yet.
  std::vector<PixelRect> takeDamage(const std::vector<PixelRect>& drawn, const Seen& seen);

  /// Takes in that it is. The picture may then be stale.
  void look(const server::SharedPixels& picture) { backdrop_.look(picture); }

  /// Asks the server for the pixels that have changed; `collect` waits until they have come.
  void request() { patches_->request(beneath_.bottomToTop(), stack_.isComposited()); }
  bool collect() { return patches_->collect(); }

  /// Puts rows of the root window into the picture of the screen, where own windows are.
  void copyRows(int top, int bottom, server::SharedPixels& screen) const;

 private:
  void noteDisturbance(Disturbance disturbance);
  std::vector<PixelRect> rebuild(const std::vector<PixelRect>& parts, const Seen& seen);

  const server::Connection& connection_;
  PixelRect area_;
  WindowStack stack_;
  CoveredParts covered_;
  Backdrop backdrop_;
  PictureFormats formats_;
  WindowsBeneath beneath_;
  FramesBeneath frames_;
  DamageBeneath damage_;
  Disturbance disturbance_ = Disturbance::none;
  std::vector<PixelRect> parts_;  ///< covered when the stack was read
  std::unique_ptr<Patches> patches_;
};

}  // namespace vesk::x11::beneath
