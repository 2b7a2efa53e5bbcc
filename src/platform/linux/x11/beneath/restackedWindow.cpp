#include "platform/linux/x11/beneath/restackedWindow.h"

namespace vesk::x11::beneath {

std::optional<xcb_window_t> restackedWindow(const xcb_generic_event_t& event) {
  switch (event.response_type & 0x7f) {
    case XCB_MAP_NOTIFY:
      return reinterpret_cast<const xcb_map_notify_event_t&>(event).window;
    case XCB_CONFIGURE_NOTIFY:
      return reinterpret_cast<const xcb_configure_notify_event_t&>(event).window;
    case XCB_REPARENT_NOTIFY:
      return reinterpret_cast<const xcb_reparent_notify_event_t&>(event).window;
    case XCB_CIRCULATE_NOTIFY:
      return reinterpret_cast<const xcb_circulate_notify_event_t&>(event).window;
    default:
      return std::nullopt;
  }
}

}  // namespace vesk::x11::beneath
