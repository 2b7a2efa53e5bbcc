#include "platform/linux/x11/alert/AlertWindow.h"

#include <QGuiApplication>

#include "platform/linux/x11/server/Connection.h"
#include "platform/linux/x11/server/Properties.h"

namespace vesk::x11::alert {
namespace {

xcb_window_t rootOf(xcb_connection_t* connection) {
  return xcb_setup_roots_iterator(xcb_get_setup(connection)).data->root;
}

bool hasWindowManager(xcb_connection_t* connection) {
  return !server::numbers(connection, rootOf(connection), "_NET_SUPPORTING_WM_CHECK").empty();
}

constexpr std::uint32_t allWorkspaces = 0xffffffff;

/// The source of a wish. Window managers take a pager's for the person's own; what programs ask for
/// themselves they may turn down.
constexpr std::uint32_t fromAPager = 2;

void askManager(xcb_connection_t* connection, xcb_window_t window, std::string_view wish,
                std::uint32_t first, std::uint32_t second) {
  xcb_client_message_event_t message{};
  message.response_type = XCB_CLIENT_MESSAGE;
  message.format = 32;
  message.window = window;
  message.type = server::atom(connection, wish);
  message.data.data32[0] = first;
  message.data.data32[1] = second;
  xcb_send_event(connection, 0, rootOf(connection),
                 XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY | XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT,
                 reinterpret_cast<const char*>(&message));
}

}  // namespace

xcb_connection_t* qtConnection() {
  auto* const application = qApp->nativeInterface<QNativeInterface::QX11Application>();
  return application == nullptr ? nullptr : application->connection();
}

void keepOnEveryWorkspace(xcb_window_t window) {
  auto* const connection = qtConnection();
  if (connection == nullptr) return;
  // Qt adds the states that it knows to those that it finds.
  server::setAtoms(connection, window, "_NET_WM_STATE",
                   {"_NET_WM_STATE_ABOVE", "_NET_WM_STATE_STICKY", "_NET_WM_STATE_SKIP_TASKBAR",
                    "_NET_WM_STATE_SKIP_PAGER"});
  server::setCardinal(connection, window, "_NET_WM_DESKTOP", allWorkspaces);
}

void wishDarkFrame(xcb_window_t window) {
  auto* const connection = qtConnection();
  if (connection == nullptr) return;
  constexpr std::string_view dark = "dark";
  xcb_change_property(connection, XCB_PROP_MODE_REPLACE, window,
                      server::atom(connection, "_GTK_THEME_VARIANT"),
                      server::atom(connection, "UTF8_STRING"), 8, dark.size(), dark.data());
}

void mapAgain(xcb_window_t window) {
  auto* const connection = qtConnection();
  if (connection == nullptr) return;
  xcb_map_window(connection, window);
  xcb_flush(connection);
}

void bringToTheFront(xcb_window_t window) {
  auto* const connection = qtConnection();
  if (connection == nullptr) return;
  if (hasWindowManager(connection)) {
    // A modal dialog may have been put on the workspace of the moment, whatever it had asked for.
    askManager(connection, window, "_NET_WM_DESKTOP", allWorkspaces, fromAPager);
    askManager(connection, window, "_NET_ACTIVE_WINDOW", fromAPager, XCB_CURRENT_TIME);
  } else {
    const std::uint32_t onTop = XCB_STACK_MODE_ABOVE;
    xcb_configure_window(connection, window, XCB_CONFIG_WINDOW_STACK_MODE, &onTop);
    xcb_set_input_focus(connection, XCB_INPUT_FOCUS_POINTER_ROOT, window, XCB_CURRENT_TIME);
  }
  xcb_flush(connection);
}

}  // namespace vesk::x11::alert
