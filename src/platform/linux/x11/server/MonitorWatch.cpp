#include "platform/linux/x11/server/MonitorWatch.h"

namespace vesk::x11::server {

MonitorWatch::MonitorWatch(const Connection& connection) : connection_(connection) {
  if (!connection_ || !connection_.offers("RANDR")) return;
  selectMonitorEvents(connection_);
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
