#pragma once

#include <xcb/damage.h>
#include <xcb/render.h>
#include <xcb/xfixes.h>

#include "platform/linux/x11/beneath/FrameColour.h"
#include "platform/linux/x11/beneath/StackedWindow.h"
#include "platform/linux/x11/server/Connection.h"

namespace vesk::x11::beneath {

/// What a window shows, also where others cover it: its redirected contents, the outline that it is
/// cut to, and what was drawn in it.
///
/// Thread: one at a time. Owns: the server's resources; the connection outlives it. Fails: as a
/// window that shows nothing.
class WindowContents {
 public:
  WindowContents(const server::Connection& connection, const StackedWindow& window,
                 xcb_render_pictformat_t format);
  ~WindowContents();
  WindowContents(const WindowContents&) = delete;
  WindowContents& operator=(const WindowContents&) = delete;

  const StackedWindow& window() const { return window_; }

  /// After the window has changed, or the server has put its contents elsewhere.
  void renew(const StackedWindow& window);

  /// What stands for its frame, where only the compositor has that.
  FrameColour& frameColour() { return frameColour_; }

  /// Paints what lies in `part` of the root window into a picture of that part.
  void paintInto(xcb_render_picture_t target, const PixelRect& part, const PixelRect& within,
                 bool blended) const;

  /// Something was drawn in it.
  void noteDamage() { damaged_ = true; }

  bool hasDamage() const { return damaged_; }

  /// Adds to `all`, in the root window's pixels, what was drawn since this was asked last.
  /// `scratch` is a region to work with.
  void takeDamage(xcb_xfixes_region_t all, xcb_xfixes_region_t scratch);

 private:
  void paintFrame(xcb_render_picture_t target, const PixelRect& part,
                  const PixelRect& within) const;
  void acquire();
  void release();

  const server::Connection& connection_;
  StackedWindow window_;
  xcb_render_pictformat_t format_;
  FrameColour frameColour_;
  xcb_pixmap_t pixmap_ = XCB_NONE;
  xcb_render_picture_t picture_ = XCB_NONE;
  xcb_xfixes_region_t outline_ = XCB_NONE;
  xcb_damage_damage_t damage_ = XCB_NONE;
  bool damaged_ = false;
};

}  // namespace vesk::x11::beneath
