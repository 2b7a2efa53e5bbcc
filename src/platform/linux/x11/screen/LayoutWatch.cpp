#include "platform/linux/x11/screen/LayoutWatch.h"

#include <xcb/randr.h>
#include <xcb/xcbext.h>

#include "platform/linux/x11/server/selectRootEvents.h"

namespace vesk::x11::screen {

LayoutWatch::LayoutWatch(const server::Connection& connection)
    : firstEvent_(xcb_get_extension_data(connection.get(), &xcb_randr_id)->first_event),
      root_(connection.root()) {
  xcb_randr_select_input(connection.get(), connection.root(),
                         XCB_RANDR_NOTIFY_MASK_SCREEN_CHANGE | XCB_RANDR_NOTIFY_MASK_CRTC_CHANGE |
                             XCB_RANDR_NOTIFY_MASK_OUTPUT_CHANGE);
  // A monitor that the person has defined is told of as a change of the root window only.
  server::selectRootEvents(connection, XCB_EVENT_MASK_STRUCTURE_NOTIFY);
}

bool LayoutWatch::isTold(const xcb_generic_event_t& event) const {
  const int type = event.response_type & 0x7f;
  if (type == XCB_CONFIGURE_NOTIFY) {
    return reinterpret_cast<const xcb_configure_notify_event_t&>(event).window == root_;
  }
  return type == firstEvent_ || type == firstEvent_ + XCB_RANDR_NOTIFY;
}

}  // namespace vesk::x11::screen
