#include "platform/linux/x11/server/MonitorWatch.h"

#include <xcb/randr.h>

namespace vesk::x11::server {

MonitorWatch::MonitorWatch(const Connection& connection) : connection_(connection) {
  if (!connection_) return;
  constexpr std::uint16_t changes = XCB_RANDR_NOTIFY_MASK_SCREEN_CHANGE |
                                    XCB_RANDR_NOTIFY_MASK_CRTC_CHANGE |
                                    XCB_RANDR_NOTIFY_MASK_OUTPUT_CHANGE;
  if (connection_.offers("RANDR"))
    xcb_randr_select_input(connection_.get(), connection_.root(), changes);
  // A monitor that the person has defined is told of as a change of the root window only.
  const std::uint32_t mask = XCB_EVENT_MASK_STRUCTURE_NOTIFY;
  xcb_change_window_attributes(connection_.get(), connection_.root(), XCB_CW_EVENT_MASK, &mask);
  xcb_flush(connection_.get());
}

std::vector<Monitor> MonitorWatch::current() {
  const std::lock_guard lock(mutex_);
  while (const ReplyPtr<xcb_generic_event_t> event{xcb_poll_for_event(connection_.get())})
    stale_ = true;
  if (!connection_) return {};
  if (stale_) {
    stale_ = false;
    monitors_ = monitors(connection_);
  }
  return monitors_;
}

}  // namespace vesk::x11::server
