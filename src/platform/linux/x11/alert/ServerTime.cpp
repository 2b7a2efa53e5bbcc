#include "platform/linux/x11/alert/ServerTime.h"

#include "platform/linux/x11/server/Properties.h"

namespace vesk::x11::alert {

ServerTime::ServerTime(xcb_connection_t* connection, xcb_window_t window)
    : connection_(connection), window_(window) {
  if (connection_ != nullptr) property_ = server::atom(connection_, "_VESK_REMOTE_TIME");
}

void ServerTime::ask() {
  ++unanswered_;
  xcb_change_property(connection_, XCB_PROP_MODE_APPEND, window_, property_, XCB_ATOM_INTEGER, 32,
                      0, nullptr);
  xcb_flush(connection_);
}

std::optional<ServerTime::Time> ServerTime::answerOf(const xcb_property_notify_event_t& event) {
  if (event.atom != property_) return std::nullopt;
  last_ = timeOf(event.time);
  if (unanswered_ == 0 || --unanswered_ > 0) return std::nullopt;
  return last_;
}

ServerTime::Time ServerTime::timeOf(xcb_timestamp_t time) const {
  const auto last = static_cast<std::uint32_t>(last_.count());
  return last_ + Time(static_cast<std::int32_t>(time - last));
}

}  // namespace vesk::x11::alert
