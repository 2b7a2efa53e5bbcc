#include "platform/linux/x11/server/selectRootEvents.h"

namespace vesk::x11::server {

void selectRootEvents(const Connection& connection, std::uint32_t mask) {
  auto* const c = connection.get();
  const ReplyPtr<xcb_get_window_attributes_reply_t> attributes(
      xcb_get_window_attributes_reply(c, xcb_get_window_attributes(c, connection.root()), nullptr));
  if (attributes != nullptr) mask |= attributes->your_event_mask;
  xcb_change_window_attributes(c, connection.root(), XCB_CW_EVENT_MASK, &mask);
}

}  // namespace vesk::x11::server
