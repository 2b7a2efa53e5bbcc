#include "platform/linux/x11/server/Connection.h"

namespace vesk::x11::server {

Connection::Connection() : connection_(xcb_connect(nullptr, nullptr)) {}

const xcb_screen_t& Connection::screen() const {
  return *xcb_setup_roots_iterator(xcb_get_setup(get())).data;
}

std::uint32_t Connection::makerOf(xcb_window_t window) const {
  return window & ~xcb_get_setup(get())->resource_id_mask;
}

bool Connection::offers(std::string_view extension) const {
  const auto request =
      xcb_query_extension(get(), static_cast<std::uint16_t>(extension.size()), extension.data());
  const ReplyPtr<xcb_query_extension_reply_t> reply(
      xcb_query_extension_reply(get(), request, nullptr));
  return reply != nullptr && reply->present != 0;
}

void Connection::dropEvents() const {
  while (const ReplyPtr<xcb_generic_event_t> event{xcb_poll_for_event(get())}) {
  }
}

std::string Connection::advice() {
  const char* display = std::getenv("DISPLAY");
  if (display == nullptr || *display == '\0') {
    return "no display: DISPLAY is not set; start the program inside a graphical session.";
  }
  return "no display: the X server at DISPLAY=" + std::string(display) +
         " does not answer; check that it runs and lets this user in.";
}

}  // namespace vesk::x11::server
