#pragma once

#include <virtual-keyboard-unstable-v1.h>
#include <wayland-client.h>
#include <wlr-screencopy-unstable-v1.h>
#include <wlr-virtual-pointer-unstable-v1.h>
#include <xdg-output-unstable-v1.h>

#include <memory>

#include "platform/linux/wayland/server/layerShell.h"

namespace vesk::wayland::server {

/// Ends a proxy by the request that is made for it, or, where there is none, by forgetting it.
struct EndProxy {
  void operator()(wl_buffer* proxy) const { wl_buffer_destroy(proxy); }
  void operator()(wl_callback* proxy) const { wl_callback_destroy(proxy); }
  void operator()(wl_compositor* proxy) const { wl_compositor_destroy(proxy); }
  void operator()(wl_region* proxy) const { wl_region_destroy(proxy); }
  void operator()(wl_registry* proxy) const { wl_registry_destroy(proxy); }
  void operator()(wl_shm* proxy) const { wl_shm_destroy(proxy); }
  void operator()(wl_shm_pool* proxy) const { wl_shm_pool_destroy(proxy); }
  void operator()(wl_surface* proxy) const { wl_surface_destroy(proxy); }
  // These have one since the versions that are bound here.
  void operator()(wl_keyboard* proxy) const { wl_keyboard_release(proxy); }
  void operator()(wl_pointer* proxy) const { wl_pointer_release(proxy); }
  void operator()(wl_seat* proxy) const { wl_seat_release(proxy); }
  void operator()(wl_output* proxy) const;
  void operator()(zwlr_layer_shell_v1* proxy) const;
  void operator()(zwlr_layer_surface_v1* proxy) const { zwlr_layer_surface_v1_destroy(proxy); }
  void operator()(zwlr_screencopy_frame_v1* proxy) const {
    zwlr_screencopy_frame_v1_destroy(proxy);
  }
  void operator()(zwlr_screencopy_manager_v1* proxy) const {
    zwlr_screencopy_manager_v1_destroy(proxy);
  }
  void operator()(zwlr_virtual_pointer_manager_v1* proxy) const {
    zwlr_virtual_pointer_manager_v1_destroy(proxy);
  }
  void operator()(zwlr_virtual_pointer_v1* proxy) const { zwlr_virtual_pointer_v1_destroy(proxy); }
  void operator()(zwp_virtual_keyboard_manager_v1* proxy) const {
    zwp_virtual_keyboard_manager_v1_destroy(proxy);
  }
  void operator()(zwp_virtual_keyboard_v1* proxy) const { zwp_virtual_keyboard_v1_destroy(proxy); }
  void operator()(zxdg_output_manager_v1* proxy) const { zxdg_output_manager_v1_destroy(proxy); }
  void operator()(zxdg_output_v1* proxy) const { zxdg_output_v1_destroy(proxy); }
};

/// A proxy of a connection's, which outlives it.
template <typename Object>
using Proxy = std::unique_ptr<Object, EndProxy>;

}  // namespace vesk::wayland::server
