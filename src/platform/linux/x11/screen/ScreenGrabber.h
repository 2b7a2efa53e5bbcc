#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "platform/linux/x11/beneath/Underneath.h"
#include "platform/linux/x11/screen/HoldBack.h"
#include "platform/linux/x11/screen/LayoutWatch.h"
#include "platform/linux/x11/screen/MonitorPixels.h"
#include "platform/linux/x11/screen/PaintedPointer.h"
#include "platform/linux/x11/screen/ScreenDamage.h"
#include "platform/linux/x11/server/Connection.h"
#include "platform/linux/x11/server/Randr.h"
#include "platform/linux/x11/server/rectangles.h"

namespace vesk::x11::screen {

/// One monitor's pixels, brought up to date where something was drawn, with the pointer painted on
/// top. The program's own windows are left out of it, if wished: it shows what lies beneath them.
///
/// The server is never grabbed: whoever holds it and is stopped, by a debugger or a terminal, stops
/// the whole desktop. Everything is asked for in one go instead, and what windows have done
/// meanwhile is known by the time that the answers are there: what it spoils is taken once more.
///
/// Thread: one at a time. Owns: its connection, the shared segment and the server's resources.
/// Fails: the constructor leaves an object that is false; a grab gives nothing once the server is
/// gone.
class ScreenGrabber {
 public:
  using Time = std::chrono::steady_clock::time_point;

  /// `leftOut`, which outlives the object, names the windows that the picture is taken without.
  ScreenGrabber(const server::Monitor& monitor, bool showsCursor,
                const beneath::OwnWindows* leftOut = nullptr);
  ~ScreenGrabber();
  ScreenGrabber(const ScreenGrabber&) = delete;
  ScreenGrabber& operator=(const ScreenGrabber&) = delete;

  explicit operator bool() const { return pixels_ && *pixels_ && connection_; }

  /// Becomes readable when something was drawn or changed.
  int descriptor() const { return xcb_get_file_descriptor(connection_.get()); }

  struct News {
    bool drawn = false;          ///< something was drawn since the last grab
    bool layoutChanged = false;  ///< monitors came, went or changed
  };

  /// Takes the events that have come. Nothing when the server is gone.
  std::optional<News> readEvents();

  /// Whether the pointer has moved or looks different since it was last painted.
  bool cursorChanged() { return pointer_ && pointer_->hasChanged(); }

  /// Whether `readEvents` has something to tell. Answers bring events along, and the descriptor is
  /// readable no more for those.
  bool hasNews();

  /// When something may have changed of which the server does not tell.
  Time nextLook() const;

  /// Brings the pixels up to date and tells where, in the monitor, they may have changed. Windows
  /// that do not stand still may hold that back: until a later grab nothing has changed, and the
  /// pixels are not to be looked at.
  std::optional<std::vector<PixelRect>> grab();

  /// Whether the last grab was held back.
  bool isHeldBack() const { return holdBack_.isOn(); }

  const std::uint8_t* pixels() const { return pixels_->memory().data(); }
  int stride() const { return pixels_->stride(); }
  int width() const { return monitor_.width; }
  int height() const { return monitor_.height; }
  const server::Connection& connection() const { return connection_; }

 private:
  void watch(const beneath::OwnWindows* leftOut);
  void pollEvents();
  std::optional<beneath::Disturbance> update();
  bool takePicture();
  bool mayHaveChanged() const;
  std::vector<PixelRect> request();
  std::vector<PixelRect> requestBeneath();

  server::Connection connection_;
  server::Monitor monitor_;
  std::optional<MonitorPixels> pixels_;
  std::optional<PaintedPointer> pointer_;
  std::optional<ScreenDamage> damage_;
  std::optional<LayoutWatch> layout_;
  std::unique_ptr<beneath::Underneath> underneath_;
  News news_;
  HoldBack holdBack_;
  std::vector<PixelRect> untold_;  ///< where the pixels have changed
};

}  // namespace vesk::x11::screen
