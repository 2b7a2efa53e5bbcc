#pragma once

#include <cstdint>
#include <optional>

#include "platform/linux/picture/PixelRect.h"
#include "platform/linux/wayland/beneath/OwnSurfaces.h"
#include "platform/linux/wayland/server/Connection.h"
#include "platform/linux/wayland/server/OutputList.h"

namespace vesk::testing {

/// A picture that lies above everything on an output, told of in a list of own surfaces while it
/// does.
///
/// Thread: one at a time. Fails: with std::runtime_error when it cannot be shown.
class WlLayer {
 public:
  using Pixels = wayland::beneath::OwnSurface::Pixels;

  /// Not in sight yet. `surface.area` is a multiple of the scale on every side.
  WlLayer(wayland::beneath::OwnSurfaces& list, wayland::beneath::OwnSurface surface, int scale = 1);
  ~WlLayer();
  WlLayer(const WlLayer&) = delete;
  WlLayer& operator=(const WlLayer&) = delete;

  /// Both return when the compositor has carried that out, which the list then tells.
  void show();
  void hide();

 private:
  void attach();

  wayland::beneath::OwnSurfaces& list_;
  wayland::beneath::OwnSurface told_;
  int scale_;
  wayland::server::Connection connection_;
  wayland::server::OutputList outputs_{connection_};
  wayland::server::Proxy<wl_compositor> compositor_;
  wayland::server::Proxy<wl_shm> shm_;
  wayland::server::Proxy<zwlr_layer_shell_v1> shell_;
  wayland::server::Proxy<wl_buffer> buffer_;
  wayland::server::Proxy<wl_surface> surface_;
  wayland::server::Proxy<zwlr_layer_surface_v1> layer_;
  bool isConfigured_ = false;
  std::optional<wayland::beneath::OwnSurfaces::Number> number_;
};

/// A premultiplied pixel.
std::uint32_t translucent(int alpha, std::uint32_t rgb);

}  // namespace vesk::testing
