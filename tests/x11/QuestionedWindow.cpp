#include "x11/QuestionedWindow.h"

#include <poll.h>

#include <chrono>

#include "platform/linux/x11/server/Properties.h"

namespace vesk::testing {

using x11::server::ReplyPtr;

QuestionedWindow::QuestionedWindow() : window_(xcb_generate_id(connection_.get())) {
  const std::uint32_t overrideRedirect = 1;
  xcb_create_window(connection_.get(), XCB_COPY_FROM_PARENT, window_, connection_.root(), 0, 0, 100,
                    100, 0, XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT,
                    XCB_CW_OVERRIDE_REDIRECT, &overrideRedirect);
  x11::server::setAtoms(connection_.get(), window_, "WM_PROTOCOLS", {"_NET_WM_PING"});
  xcb_map_window(connection_.get(), window_);
  xcb_set_input_focus(connection_.get(), XCB_INPUT_FOCUS_POINTER_ROOT, window_, XCB_CURRENT_TIME);
  // The server has done all of it once this is answered.
  ping();
}

std::optional<QuestionedWindow::Question> QuestionedWindow::waitForQuestion() {
  constexpr int patience = 10000;
  for (;;) {
    while (const ReplyPtr<xcb_generic_event_t> event{xcb_poll_for_event(connection_.get())}) {
      if ((event->response_type & 0x7F) != XCB_CLIENT_MESSAGE) continue;
      const auto& message = reinterpret_cast<const xcb_client_message_event_t&>(*event);
      return Question{message.data.data32[1], message.data.data32[2]};
    }
    pollfd descriptor{xcb_get_file_descriptor(connection_.get()), POLLIN, 0};
    if (::poll(&descriptor, 1, patience) != 1) return std::nullopt;
  }
}

void QuestionedWindow::answer(Question question) {
  xcb_client_message_event_t message{};
  message.response_type = XCB_CLIENT_MESSAGE;
  message.format = 32;
  message.window = connection_.root();
  message.type = protocols();
  message.data.data32[0] = ping();
  message.data.data32[1] = question.number;
  message.data.data32[2] = question.window;
  xcb_send_event(connection_.get(), 0, connection_.root(),
                 XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY | XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT,
                 reinterpret_cast<const char*>(&message));
  xcb_flush(connection_.get());
}

xcb_atom_t QuestionedWindow::protocols() const {
  return x11::server::atom(connection_.get(), "WM_PROTOCOLS");
}

xcb_atom_t QuestionedWindow::ping() const {
  return x11::server::atom(connection_.get(), "_NET_WM_PING");
}

}  // namespace vesk::testing
