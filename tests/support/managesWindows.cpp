#include "support/managesWindows.h"

#include "platform/linux/x11/server/Properties.h"
#include "support/Patience.h"

namespace vesk::testing {

bool managesWindows(xcb_connection_t* connection) {
  using namespace x11::server;
  const auto* const screen = xcb_setup_roots_iterator(xcb_get_setup(connection)).data;
  const xcb_window_t window = xcb_generate_id(connection);
  xcb_create_window(connection, XCB_COPY_FROM_PARENT, window, screen->root, 0, 0, 1, 1, 0,
                    XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT, 0, nullptr);
  xcb_client_message_event_t question{};
  question.response_type = XCB_CLIENT_MESSAGE;
  question.format = 32;
  question.window = window;
  question.type = atom(connection, "_NET_REQUEST_FRAME_EXTENTS");
  const bool answered = waitUntil([&] {
    xcb_send_event(connection, 0, screen->root,
                   XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY | XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT,
                   reinterpret_cast<const char*>(&question));
    return !numbers(connection, window, "_NET_FRAME_EXTENTS").empty();
  });
  xcb_destroy_window(connection, window);
  xcb_flush(connection);
  return answered;
}

}  // namespace vesk::testing
