#pragma once

#include <xcb/xfixes.h>

#include <chrono>
#include <map>
#include <memory>
#include <vector>

#include "platform/linux/x11/beneath/Disturbance.h"
#include "platform/linux/x11/beneath/Patch.h"
#include "platform/linux/x11/beneath/RootBackground.h"
#include "platform/linux/x11/beneath/WindowContents.h"
#include "platform/linux/x11/beneath/WindowStack.h"

namespace vesk::x11::beneath {

/// What a monitor would show without the program's own windows. The server keeps the contents of
/// all windows, whether or not they are covered, from the moment that this object is made: an own
/// window that opens later has hidden nothing. Where own windows are, the picture is composed of
/// what lies beneath them, and only what has changed there is composed anew.
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
  bool isNeeded() const;

  /// Whether windows have opened, moved or gone, or the wallpaper was replaced, since the stack was
  /// read.
  bool isStale() const { return stack_.isStale() || wallpaperReplaced_ || isOverdue(); }

  /// Whether what own windows have left is to be looked at. Nothing else tells of that moment.
  bool isOverdue() const;

  /// Whether something was drawn in the windows beneath the own ones.
  bool isDamaged() const;

  /// How far what has happened since the stack was read spoils what has been asked for since.
  Disturbance disturbance() const { return disturbance_; }

  /// The picture of the screen as it was last taken, without own windows.
  struct Seen {
    const server::SharedPixels& picture;
    PixelRect unsure;  ///< of the root window, where that may not be so
  };

  /// Reads the stack of windows. What was covered, and what is from now on, differs then from what
  /// was there before: those parts of the root window are given back.
  std::vector<PixelRect> readStack(const Seen& seen);

  /// Takes out of a region of the root window what the own windows cover.
  void cutOut(xcb_xfixes_region_t region) const;

  /// What was drawn beneath the own windows since this was asked last, given what was `drawn` in
  /// sight, in the root window.
  std::vector<PixelRect> takeDamage(const std::vector<PixelRect>& drawn);

  /// Asks the server for the pixels that have changed; `collect` waits until they have come.
  void request();
  bool collect();

  /// Puts rows of the root window into the picture of the screen, where own windows are.
  void copyRows(int top, int bottom, server::SharedPixels& screen) const;

 private:
  /// What an own window covered, for as long as a compositor may still show it there.
  struct Left {
    PixelRect part;
    std::chrono::steady_clock::time_point until;
  };

  std::vector<PixelRect> ownParts() const;
  std::vector<PixelRect> coveredParts();
  void noteDisturbance(Disturbance disturbance);
  void noteMove(const xcb_generic_event_t& event);
  PixelRect partOf(const StackedWindow& window) const;
  void leave(const PixelRect& part);
  std::vector<PixelRect> rebuild(const std::vector<PixelRect>& parts,
                                 const std::vector<StackedWindow>& before, const Seen& seen);
  void noteParts();
  void makePatches(const std::vector<PixelRect>& parts);
  void paintBackgrounds(const std::vector<std::unique_ptr<Patch>>& old,
                        const std::vector<StackedWindow>& before, const Seen& seen);
  std::uint32_t bareColour() const;
  RootBackground::Painter painter() const;
  bool chooseWindows();
  bool lookAtFrames();
  std::vector<PixelRect> damageOfContents();
  std::vector<PixelRect> damageOfFrames(const std::vector<PixelRect>& drawn);

  const server::Connection& connection_;
  PixelRect area_;
  WindowStack stack_;
  RootBackground background_;
  bool wallpaperReplaced_ = false;
  Disturbance disturbance_ = Disturbance::none;
  bool composited_ = false;
  std::map<xcb_visualid_t, xcb_render_pictformat_t> formats_;
  xcb_xfixes_region_t covered_ = XCB_NONE;
  xcb_xfixes_region_t drawn_ = XCB_NONE;
  xcb_xfixes_region_t scratch_ = XCB_NONE;
  std::vector<PixelRect> own_;  ///< what own windows cover now
  std::vector<Left> left_;
  std::vector<PixelRect> parts_;  ///< both, each pixel once
  std::unique_ptr<server::SharedPixels> memory_;
  std::vector<std::unique_ptr<Patch>> patches_;
  std::map<xcb_window_t, std::unique_ptr<WindowContents>> contents_;
  std::vector<const WindowContents*> bottomToTop_;
};

}  // namespace vesk::x11::beneath
