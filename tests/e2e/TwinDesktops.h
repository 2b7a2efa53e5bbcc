#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "e2e/PresenceDesktop.h"
#include "e2e/ScreenPixels.h"
#include "platform/linux/picture/PixelRect.h"
#include "platform/linux/x11/beneath/OwnWindows.h"
#include "platform/linux/x11/screen/ScreenGrabber.h"
#include "support/XPainter.h"

namespace vesk::testing {

/// Two desktops of a kind with the same windows, one of which shows own windows of the program
/// beside them. What is captured of that one must look like the other.
///
/// Thread: the test's. DISPLAY names the one with the own windows.
class TwinDesktops {
 public:
  static constexpr int width = 800;
  static constexpr int height = 600;
  /// Everything that own windows show is of this colour, and nothing else is.
  static constexpr std::uint32_t ownColour = 0xff00ff;

  explicit TwinDesktops(PresenceDesktop::Kind kind);
  ~TwinDesktops();

  /// Where there is none.
  void startCompositor();
  void stopCompositor();

  struct Look {
    std::uint32_t colour = 0xffffff;
    bool managed = false;
    bool alpha = false;
    int border = 0;
  };

  /// The same on both desktops; the number names the window from then on.
  int open(const picture::PixelRect& frame, const Look& look);
  void move(int window, const picture::PixelRect& frame);
  void raise(int window);
  void unmap(int window);
  void close(int window);
  /// Closes it, and opens at once another one that nobody manages, which gets its number in the
  /// server too, as the window of a program that is started anew may.
  void replace(int window, const picture::PixelRect& frame, std::uint32_t colour);
  void cutOff(int window, const picture::PixelRect& visible);
  void draw(int window, const picture::PixelRect& area, std::uint32_t colour);
  /// On the root window itself.
  void paintRoot(const picture::PixelRect& area, std::uint32_t colour);
  void setRootColour(std::uint32_t colour);
  /// As programs do that set a wallpaper: a pixmap of vertical stripes, by its number.
  void setWallpaper(std::uint32_t colour);

  /// Only on the captured desktop. A managed one never takes the focus.
  xcb_window_t openOwn(const picture::PixelRect& frame, bool managed = false);
  void moveOwn(xcb_window_t window, int x, int y);
  void closeOwn(xcb_window_t window);
  /// The strip and the border as the program shows them, and an alert.
  void openAllOwn();
  void closeAllOwn();

  /// Begins to capture, with whatever there is.
  void capture();

  /// Captures until the picture differs from the other desktop's screen in no more than that;
  /// the difference that is left after a generous time.
  Difference settledDifference(const Tolerance& limit = {});

  /// Whether nothing happens for that long.
  bool isQuiet(int milliseconds);

  /// Pixels of the own windows' colour that have ever been captured.
  int ownPixelsSeen() const { return ownPixelsSeen_; }
  int imagesTaken() const { return imagesTaken_; }

  Pixels reference() { return screenOf(other_); }
  /// With the own windows.
  Pixels captured() { return screenOf(captured_); }
  Pixels grabbed() const;
  x11::beneath::OwnWindows& ownWindows() { return ownWindows_; }

 private:
  struct Side {
    PresenceDesktop* desktop = nullptr;
    std::map<int, xcb_window_t> windows;
    xcb_connection_t* connection() const { return desktop->connection(); }
  };
  template <typename Do>
  void onBoth(Do what);
  bool take();
  static Pixels screenOf(const PresenceDesktop& desktop);

  PresenceDesktop captured_;
  PresenceDesktop other_;
  std::array<Side, 2> sides_;
  DisplayVariable display_;
  bool showsWallpaper_;  ///< the one that the root window names
  x11::beneath::OwnWindows ownWindows_;
  std::vector<xcb_window_t> ownOpen_;
  std::unique_ptr<x11::screen::ScreenGrabber> grabber_;
  int nextWindow_ = 0;
  int ownPixelsSeen_ = 0;
  int imagesTaken_ = 0;
};

}  // namespace vesk::testing
