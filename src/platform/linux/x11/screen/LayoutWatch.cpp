#include "platform/linux/x11/screen/LayoutWatch.h"

#include <xcb/randr.h>
#include <xcb/xcbext.h>

#include "platform/linux/x11/server/Randr.h"

namespace vesk::x11::screen {

LayoutWatch::LayoutWatch(const server::Connection& connection)
    : firstEvent_(xcb_get_extension_data(connection.get(), &xcb_randr_id)->first_event),
      root_(connection.root()) {
  server::selectMonitorEvents(connection);
}

bool LayoutWatch::isTold(const xcb_generic_event_t& event) const {
  const int type = event.response_type & 0x7f;
  if (type == XCB_CONFIGURE_NOTIFY) {
    return reinterpret_cast<const xcb_configure_notify_event_t&>(event).window == root_;
  }
  return type == firstEvent_ || type == firstEvent_ + XCB_RANDR_NOTIFY;
}

}  // namespace vesk::x11::screen
