#pragma once

#include <wayland-cursor.h>

#include <cstdint>
#include <memory>
#include <optional>

#include "platform/linux/wayland/overlay/LayerShell.h"
#include "platform/linux/wayland/overlay/PictureBuffer.h"

namespace vesk::wayland::alert {

/// The arrow that the pointer is over a surface of ours, in the person's theme and size.
///
/// Thread: the connection's. Owns: the theme's pictures; what it is given outlives it. Fails: where
/// the theme has no arrow, as one of our own.
class PointerImage {
 public:
  /// `scale` is the pixels of a point.
  PointerImage(overlay::LayerShell& shell, std::int32_t scale);

  /// For a pointer that has just entered, as the event with that serial tells.
  void show(wl_pointer* pointer, std::uint32_t serial);

 private:
  struct Release {
    void operator()(wl_cursor_theme* theme) const { wl_cursor_theme_destroy(theme); }
  };
  struct Look {
    wl_buffer* buffer = nullptr;
    std::int32_t scale = 1;
    std::int32_t hotX = 0;  ///< in pixels
    std::int32_t hotY = 0;
  };

  Look look();
  Look ownArrow();

  overlay::LayerShell& shell_;
  std::int32_t scale_;
  std::unique_ptr<wl_cursor_theme, Release> theme_;
  std::optional<overlay::PictureBuffer> arrow_;
  server::Proxy<wl_surface> surface_;
};

}  // namespace vesk::wayland::alert
