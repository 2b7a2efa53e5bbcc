#pragma once

#include <xcb/xcb.h>

#include <QImage>
#include <string_view>
#include <vector>

#include "platform/Overlays.h"
#include "platform/linux/banner/OverlayShapes.h"
#include "platform/linux/x11/beneath/OwnWindows.h"
#include "platform/linux/x11/server/Connection.h"

namespace vesk::x11::overlay {

/// One window above all others that no window manager touches and no input reaches. The server
/// itself repaints what it shows.
///
/// Thread: main. Owns: the X window; listed among the own windows for its life. Both references
/// outlive it. Fails: in silence.
class OverlayWindow {
 public:
  enum class Kind {
    translucent,  ///< where the server knows of alpha
    plain,        ///< as any program's window: what a compositor that steps aside lets through
  };

  /// `type` is the name of an atom: what the window tells compositors that it is.
  OverlayWindow(const server::Connection& connection, beneath::OwnWindows& ownWindows,
                const PixelRect& frame, Kind kind, std::string_view type);
  ~OverlayWindow();
  OverlayWindow(const OverlayWindow&) = delete;
  OverlayWindow& operator=(const OverlayWindow&) = delete;

  xcb_window_t id() const { return window_; }

  /// Whether pixels of the window can be translucent.
  bool hasAlpha() const { return depth_ == alphaDepth; }

  /// One colour all over; its alpha counts where the window has alpha.
  void fill(const Colour& colour);

  /// A picture of the window's size.
  void show(const QImage& picture);

  /// Cuts the window to these parts of it, or to its whole rectangle for none.
  void cutTo(const std::vector<PixelRect>& parts);

  void map();
  void unmap();

 private:
  static constexpr std::uint8_t alphaDepth = 32;

  void create(const PixelRect& frame, Kind kind);
  std::uint32_t pixelOf(const Colour& colour) const;

  const server::Connection& connection_;
  beneath::OwnWindows& ownWindows_;
  PixelRect frame_;
  xcb_window_t window_ = XCB_NONE;
  xcb_colormap_t colormap_ = XCB_NONE;
  std::uint8_t depth_ = 0;
};

}  // namespace vesk::x11::overlay
