#pragma once

#include <xcb/damage.h>
#include <xcb/xfixes.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "platform/linux/x11/Connection.h"
#include "platform/linux/x11/PixelRect.h"
#include "platform/linux/x11/Randr.h"
#include "platform/linux/x11/SharedPixels.h"
#include "platform/linux/x11/Underneath.h"

namespace vesk::x11 {

/// One monitor's pixels in memory that is shared with the server, brought up to date where
/// something was drawn, with the pointer painted on top. The program's own windows are left out of
/// it, if wished: it shows what lies beneath them.
///
/// Thread: one at a time. Owns: its connection, the shared segment and the server's resources.
/// Fails: the constructor leaves an object that is false; a grab gives nothing once the server is
/// gone.
class ScreenGrabber {
 public:
  /// `leftOut`, which outlives the object, names the windows that the picture is taken without.
  ScreenGrabber(const Monitor& monitor, bool showsCursor, const OwnWindows* leftOut = nullptr);
  ~ScreenGrabber();
  ScreenGrabber(const ScreenGrabber&) = delete;
  ScreenGrabber& operator=(const ScreenGrabber&) = delete;

  explicit operator bool() const { return pixels_ != nullptr && *pixels_ && connection_; }

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

  /// Brings the pixels up to date and tells where, in the monitor, they may have changed.
  std::optional<std::vector<PixelRect>> grab();

  const std::uint8_t* pixels() const { return pixels_->data(); }
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
    return pixels_->data() + static_cast<std::ptrdiff_t>(y) * stride() +
           static_cast<std::ptrdiff_t>(x) * 4;
  }
  /// In the root window.
  PixelRect area() const { return {monitor_.x, monitor_.y, monitor_.width, monitor_.height}; }
  PixelRect inMonitor(const PixelRect& rect) const;
  bool supportsExtensions();
  void watch();
  void pollEvents();
  bool mayHaveChanged() const;
  /// What is on its way from the server, and what of the monitor it will bring up to date.
  struct Asked {
    std::vector<PixelRect> changed;
    std::vector<xcb_shm_get_image_cookie_t> rows;
  };

  bool update(std::vector<PixelRect>& changed, bool pictureIsClean);
  Asked request(bool pictureIsClean);
  std::vector<PixelRect> takeDamage();
  std::vector<xcb_shm_get_image_cookie_t> requestRows(const std::vector<PixelRect>& damaged);
  void loadCursor();
  PixelRect visible(const Cursor& cursor) const;
  void paintCursor();
  void unpaintCursor();

  Connection connection_;
  Monitor monitor_;
  bool showsCursor_;
  const OwnWindows* leftOut_;
  std::unique_ptr<SharedPixels> pixels_;
  std::unique_ptr<Underneath> underneath_;
  xcb_damage_damage_t damage_ = 0;
  xcb_xfixes_region_t region_ = 0;
  std::uint8_t damageEvent_ = 0;
  std::uint8_t cursorEvent_ = 0;
  std::uint8_t randrEvent_ = 0;
  News news_;
  bool drawn_ = false;  ///< on the root window, whoever shows there
  bool everything_ = true;
  bool cursorStale_ = true;
  Cursor cursor_;
  std::optional<PixelRect> painted_;
  std::vector<std::uint32_t> beneath_;  ///< the pixels that the pointer covers
};

}  // namespace vesk::x11
