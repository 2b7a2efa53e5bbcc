#pragma once

#include <xcb/render.h>

#include <cstdint>
#include <span>

#include "platform/linux/x11/beneath/WindowContents.h"
#include "platform/linux/x11/server/Connection.h"
#include "platform/linux/x11/server/SharedPixels.h"
#include "platform/linux/x11/server/rectangles.h"

namespace vesk::x11::beneath {

/// A part of the root window as it would look without the program's own windows: composed by the
/// server out of the background and the windows that lie there, and kept in shared memory.
///
/// Thread: one at a time. Owns: the server's resources; what is given to the constructor outlives
/// it.
class Patch {
 public:
  /// Its pixels stand in the shared memory from `offset` on, rows without a gap.
  Patch(const server::Connection& connection, const PixelRect& area, server::SharedPixels& memory,
        std::size_t offset, xcb_render_pictformat_t format);
  ~Patch();
  Patch(const Patch&) = delete;
  Patch& operator=(const Patch&) = delete;

  static std::size_t bytesOf(const PixelRect& area) {
    return static_cast<std::size_t>(area.width) * static_cast<std::size_t>(area.height) * 4;
  }

  /// In the root window.
  const PixelRect& area() const { return area_; }

  /// What lies beneath all windows, to be painted by the owner.
  xcb_pixmap_t background() const { return background_; }

  /// Paints over the background one piece that another patch has of it.
  void inheritBackground(const PixelRect& piece, const Patch& other);

  /// Paints over the background one piece of the picture of the screen, whose first pixel lies at
  /// `origin` of the root window.
  void rememberBackground(const PixelRect& piece, const server::SharedPixels& screen,
                          const PixelRect& screenArea);

  void markStale(const PixelRect& part);
  void markStale() { markStale(area_); }

  /// Asks the server for what is stale; whoever has the memory collects it.
  void request(std::span<const WindowContents* const> bottomToTop, bool blended);

  /// Copies rows of the root window into the picture of the screen.
  void copyRows(int top, int bottom, server::SharedPixels& screen,
                const PixelRect& screenArea) const;

 private:
  const server::Connection& connection_;
  PixelRect area_;
  server::SharedPixels& memory_;
  std::size_t offset_;
  xcb_pixmap_t background_;
  xcb_pixmap_t composed_;
  xcb_render_picture_t picture_;
  xcb_gcontext_t context_;
  PixelRect stale_;
};

}  // namespace vesk::x11::beneath
