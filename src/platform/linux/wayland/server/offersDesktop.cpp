#include "platform/linux/wayland/server/offersDesktop.h"

#include <algorithm>
#include <array>

namespace vesk::wayland::server {

bool offersDesktop(const Connection& connection) {
  struct Needed {
    std::string_view interface;
    std::uint32_t version;
  };
  // In these versions: rectangles of damage; scrolling by notches; keymaps of our own; windows that
  // have the keyboard to themselves.
  static constexpr std::array<Needed, 8> needed{{
      {"wl_compositor", 4},
      {"wl_shm", 1},
      {"wl_seat", 5},
      {"zxdg_output_manager_v1", 2},
      {"zwlr_screencopy_manager_v1", 3},
      {"zwlr_virtual_pointer_manager_v1", 2},
      {"zwp_virtual_keyboard_manager_v1", 1},
      {"zwlr_layer_shell_v1", 1},
  }};
  return connection && std::ranges::all_of(needed, [&](const Needed& each) {
           return connection.offers(each.interface, each.version);
         });
}

}  // namespace vesk::wayland::server
