#include "platform/linux/wayland/server/Proxy.h"

namespace vesk::wayland::server {

void EndProxy::operator()(wl_output* proxy) const {
  if (wl_output_get_version(proxy) >= WL_OUTPUT_RELEASE_SINCE_VERSION) {
    wl_output_release(proxy);
  } else {
    wl_output_destroy(proxy);
  }
}

void EndProxy::operator()(zwlr_layer_shell_v1* proxy) const {
  // Before its third version nothing tells the compositor of the end.
  if (zwlr_layer_shell_v1_get_version(proxy) >= ZWLR_LAYER_SHELL_V1_DESTROY_SINCE_VERSION) {
    zwlr_layer_shell_v1_destroy(proxy);
  } else {
    wl_proxy_destroy(reinterpret_cast<wl_proxy*>(proxy));
  }
}

}  // namespace vesk::wayland::server
