#pragma once

#include <xcb/damage.h>
#include <xcb/shm.h>
#include <xcb/xfixes.h>

#include <cstdint>
#include <optional>
#include <vector>

#include "platform/linux/x11/Connection.h"
#include "platform/linux/x11/Randr.h"

namespace vesk::x11 {

/// A rectangle in the monitor's own pixels.
struct PixelRect {
  int x = 0;
  int y = 0;
  int width = 0;
  int height = 0;
};

/// One monitor's pixels in memory that is shared with the server, brought up to date where
/// something was drawn, with the pointer painted on top.
///
/// Thread: one at a time. Owns: its connection, the shared segment and the server's resources.
/// Fails: the constructor leaves an object that is false; a grab gives nothing once the server is
/// gone.
class ScreenGrabber {
 public:
  ScreenGrabber(const Monitor& monitor, bool showsCursor);
  ~ScreenGrabber();
  ScreenGrabber(const ScreenGrabber&) = delete;
  ScreenGrabber& operator=(const ScreenGrabber&) = delete;

  explicit operator bool() const { return pixels_ != nullptr && connection_; }

  /// Becomes readable when something was drawn or changed.
  int descriptor() const { return xcb_get_file_descriptor(connection_.get()); }

  struct News {
    bool drawn = false;          ///< something was drawn since the last grab
    bool layoutChanged = false;  ///< monitors came, went or changed
  };

  /// Takes the events that have come. Nothing when the server is gone.
  std::optional<News> readEvents();

  /// Whether the pointer has moved or looks different since it was last painted.
  bool cursorChanged();

  /// Brings the pixels up to date and tells where they may have changed.
  std::optional<std::vector<PixelRect>> grab();

  const std::uint8_t* pixels() const { return pixels_; }
  int stride() const { return monitor_.width * 4; }
  int width() const { return monitor_.width; }
  int height() const { return monitor_.height; }
  const Connection& connection() const { return connection_; }

 private:
  struct Cursor {
    std::uint32_t serial = 0;
    int x = 0;  ///< of its top-left corner, in the monitor
    int y = 0;
    int hotX = 0;
    int hotY = 0;
    int width = 0;
    int height = 0;
    std::vector<std::uint32_t> image;  ///< premultiplied ARGB
  };

  std::uint8_t* at(int x, int y) {
    return pixels_ + static_cast<std::ptrdiff_t>(y) * stride() + static_cast<std::ptrdiff_t>(x) * 4;
  }
  bool attach();
  bool supportsExtensions();
  void watch();
  std::vector<PixelRect> takeDamage();
  bool fetchRows(const std::vector<PixelRect>& damaged);
  void loadCursor();
  PixelRect visible(const Cursor& cursor) const;
  void paintCursor();
  void unpaintCursor();

  Connection connection_;
  Monitor monitor_;
  bool showsCursor_;
  xcb_shm_seg_t segment_ = 0;
  std::uint8_t* pixels_ = nullptr;
  xcb_damage_damage_t damage_ = 0;
  xcb_xfixes_region_t region_ = 0;
  std::uint8_t damageEvent_ = 0;
  std::uint8_t cursorEvent_ = 0;
  std::uint8_t randrEvent_ = 0;
  bool everything_ = true;
  bool cursorStale_ = true;
  Cursor cursor_;
  std::optional<PixelRect> painted_;
  std::vector<std::uint32_t> beneath_;  ///< the pixels that the pointer covers
};

}  // namespace vesk::x11
