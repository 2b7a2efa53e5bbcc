#pragma once

#include <xcb/xcb.h>

#include <cstdint>

#include "platform/linux/x11/server/Connection.h"
#include "platform/linux/x11/server/rectangles.h"

namespace vesk::x11::beneath {

/// What the root window looks like where no window covers it, as far as the server can tell. What
/// programs have drawn on the root window beneath others, the server itself does not keep.
///
/// Thread: one at a time. Owns: nothing; the connection outlives it. Fails: as a plain colour.
class RootBackground {
 public:
  explicit RootBackground(const server::Connection& connection) : connection_(connection) {}

  void watch();

  /// Whether the event tells of another wallpaper.
  bool isReplacedBy(const xcb_generic_event_t& event) const;

  /// Who paints what is seen where no window is.
  enum class Painter {
    server,      ///< the root window's background
    compositor,  ///< the wallpaper that the root window names; without one, what it likes
    itsOwn,      ///< a compositor with a wallpaper of its own
  };

  /// Paints that part of the root window into a pixmap of the part's size. Waits for the server.
  /// `colour` stands for what cannot be known; whether something can.
  bool paint(xcb_pixmap_t target, const PixelRect& part, Painter painter, std::uint32_t colour);

 private:
  xcb_pixmap_t wallpaper() const;
  void tile(xcb_pixmap_t target, const PixelRect& part, xcb_pixmap_t wallpaper) const;
  void fill(xcb_pixmap_t target, const PixelRect& part, std::uint32_t colour) const;
  void copyFromWindow(xcb_pixmap_t target, const PixelRect& part) const;

  const server::Connection& connection_;
  xcb_atom_t property_ = XCB_NONE;
};

}  // namespace vesk::x11::beneath
