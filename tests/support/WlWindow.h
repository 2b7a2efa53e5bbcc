#pragma once

#include <xdg-shell.h>

#include <condition_variable>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <span>
#include <string>
#include <thread>
#include <vector>

#include "platform/Descriptor.h"
#include "platform/Displays.h"
#include "platform/linux/picture/PixelRect.h"
#include "platform/linux/wayland/server/Connection.h"
#include "support/WlSeatLog.h"

namespace vesk::testing {

/// How a window is to be shown.
struct WlWindowLook {
  enum class Place { fullScreen, floating };

  Place place = Place::fullScreen;
  PixelSize size{640, 480};  ///< of a floating one, in points
  DisplayId output = 0;      ///< for a full-screen one; the compositor chooses when there is none
  int scale = 1;             ///< pixels of its buffer to a point
  std::uint32_t colour = 0x204060;
  std::string name = "window";  ///< by which sway's commands find it: `[app_id="window"]`
};

/// An ordinary program's window on the compositor that WAYLAND_DISPLAY names. It is on the screen
/// when the constructor has returned. All pixels are those of its buffer; a full-screen one is as
/// large as its output, and keeps what was painted when that changes its size.
///
/// Thread: any; a thread of its own answers the compositor. Owns: its connection. Fails: with
/// std::runtime_error when it cannot be shown; once the compositor is gone, in silence.
class WlWindow {
 public:
  explicit WlWindow(WlWindowLook look = {});
  ~WlWindow();
  WlWindow(const WlWindow&) = delete;
  WlWindow& operator=(const WlWindow&) = delete;

  /// Both return when the compositor has taken the new picture; just that area counts as changed.
  void fill(std::int32_t x, std::int32_t y, std::int32_t width, std::int32_t height,
            std::uint32_t rgb);
  /// `pixels` row by row, as many as the area has.
  void paint(const picture::PixelRect& area, std::span<const std::uint32_t> pixels);

  /// Of its buffer.
  PixelSize size() const;
  std::uint32_t pixel(std::int64_t x, std::int64_t y) const;

  /// Whether the compositor has shown what was painted last.
  bool waitUntilShown() const;

  /// What its seat has told so far, or since `forget`.
  WlSeen seen() const;

  /// Forgets events and text, not what is down or where the pointer is.
  void forget();

  /// Waits for that to become true of what was seen. Whether it has.
  bool waitFor(const std::function<bool(const WlSeen&)>& isDone) const;

  /// Returns when all has arrived that the compositor has sent by then.
  void settle();

  /// Answers nothing and reads nothing from then on, as a program that hangs.
  void hang();
  /// After that.
  void goOn();

 private:
  struct End {
    void operator()(xdg_wm_base* proxy) const { xdg_wm_base_destroy(proxy); }
    void operator()(xdg_surface* proxy) const { xdg_surface_destroy(proxy); }
    void operator()(xdg_toplevel* proxy) const { xdg_toplevel_destroy(proxy); }
  };
  template <typename Object>
  using Shell = std::unique_ptr<Object, End>;
  struct Buffer;

  void show();
  void listenToShell();
  void configure(std::uint32_t serial);
  void resize(PixelSize size);
  Buffer& freeBuffer();
  void commit(const picture::PixelRect& changed);
  void run();
  template <typename Condition>
  bool waitLocked(std::unique_lock<std::mutex>& lock, Condition isDone) const;

  const WlWindowLook look_;
  mutable std::mutex mutex_;
  mutable std::condition_variable changed_;
  wayland::server::Connection connection_;
  wayland::server::Proxy<wl_compositor> compositor_;
  wayland::server::Proxy<wl_shm> shm_;
  Shell<xdg_wm_base> shell_;
  WlSeatLog log_{connection_};
  wayland::server::Proxy<wl_surface> surface_;
  Shell<xdg_surface> xdgSurface_;
  Shell<xdg_toplevel> toplevel_;
  wayland::server::Proxy<wl_callback> frame_;
  std::vector<std::unique_ptr<Buffer>> buffers_;
  PixelSize size_;                     ///< in pixels of the buffer
  std::vector<std::uint32_t> canvas_;  ///< what was painted
  PixelSize told_;                     ///< by the compositor, in points; 0 leaves it to the window
  bool isFullScreen_ = false;
  Descriptor wake_;
  bool isOver_ = false;
  std::thread thread_;
};

}  // namespace vesk::testing
