#include "x11/EventRecorder.h"

#include <poll.h>
#include <xkbcommon/xkbcommon-x11.h>

#include <array>
#include <chrono>

#include <stdexcept>

#include "platform/linux/x11/server/Xkb.h"

namespace vesk::testing {

using x11::server::ReplyPtr;

EventRecorder::EventRecorder()
    : window_(xcb_generate_id(connection_.get())),
      context_(xkb_context_new(XKB_CONTEXT_NO_FLAGS), &xkb_context_unref),
      keymap_(nullptr, &xkb_keymap_unref) {
  if (!connection_) throw std::runtime_error("no connection");
  xkb_x11_setup_xkb_extension(connection_.get(), 1, 0, XKB_X11_SETUP_XKB_EXTENSION_NO_FLAGS,
                              nullptr, nullptr, &keyboardEvent_, nullptr);
  // A client that speaks this extension is told of new maps by its events only.
  constexpr std::uint16_t events =
      XCB_XKB_EVENT_TYPE_NEW_KEYBOARD_NOTIFY | XCB_XKB_EVENT_TYPE_MAP_NOTIFY;
  constexpr std::uint16_t parts = 0xFF;
  xcb_xkb_select_events(connection_.get(), XCB_XKB_ID_USE_CORE_KBD, events, 0, events, parts, parts,
                        nullptr);
  const auto* screen = xcb_setup_roots_iterator(xcb_get_setup(connection_.get())).data;
  const std::array<std::uint32_t, 2> values{
      1, XCB_EVENT_MASK_KEY_PRESS | XCB_EVENT_MASK_KEY_RELEASE | XCB_EVENT_MASK_BUTTON_PRESS |
             XCB_EVENT_MASK_BUTTON_RELEASE | XCB_EVENT_MASK_POINTER_MOTION};
  xcb_create_window(connection_.get(), XCB_COPY_FROM_PARENT, window_, screen->root, 0, 0,
                    screen->width_in_pixels, screen->height_in_pixels, 0,
                    XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT,
                    XCB_CW_OVERRIDE_REDIRECT | XCB_CW_EVENT_MASK, values.data());
  xcb_map_window(connection_.get(), window_);
  xcb_set_input_focus(connection_.get(), XCB_INPUT_FOCUS_POINTER_ROOT, window_, XCB_CURRENT_TIME);
  readKeymap();
  take();
}

void EventRecorder::readKeymap() {
  const int device = xkb_x11_get_core_keyboard_device_id(connection_.get());
  keymap_.reset(xkb_x11_keymap_new_from_device(context_.get(), connection_.get(), device,
                                               XKB_KEYMAP_COMPILE_NO_FLAGS));
}

std::vector<Received> EventRecorder::take() {
  // The answer to a question comes after every event before it.
  const ReplyPtr<xcb_get_input_focus_reply_t> answer(xcb_get_input_focus_reply(
      connection_.get(), xcb_get_input_focus(connection_.get()), nullptr));
  std::vector<Received> received;
  while (const ReplyPtr<xcb_generic_event_t> event{xcb_poll_for_event(connection_.get())}) {
    if ((event->response_type & 0x7F) == keyboardEvent_) readKeymap();
    if (const auto converted = convert(*event)) received.push_back(*converted);
  }
  return received;
}

bool EventRecorder::waitForOne() {
  for (;;) {
    while (const ReplyPtr<xcb_generic_event_t> event{xcb_poll_for_event(connection_.get())})
      if (convert(*event)) return true;
    pollfd descriptor{xcb_get_file_descriptor(connection_.get()), POLLIN, 0};
    if (::poll(&descriptor, 1, 10000) != 1) return false;
  }
}

std::vector<Received> EventRecorder::waitFor(std::size_t count) {
  using namespace std::chrono;
  const auto deadline = steady_clock::now() + seconds(10);
  auto received = take();
  while (received.size() < count && steady_clock::now() < deadline) {
    pollfd descriptor{xcb_get_file_descriptor(connection_.get()), POLLIN, 0};
    ::poll(&descriptor, 1, 100);
    for (const auto& event : take()) received.push_back(event);
  }
  return received;
}

/// The only request whose time an event tells.
std::uint32_t EventRecorder::serverTime() {
  const x11::server::Connection connection;
  const std::uint32_t events = XCB_EVENT_MASK_PROPERTY_CHANGE;
  xcb_change_window_attributes(connection.get(), window_, XCB_CW_EVENT_MASK, &events);
  xcb_change_property(connection.get(), XCB_PROP_MODE_APPEND, window_, XCB_ATOM_WM_NAME,
                      XCB_ATOM_STRING, 8, 0, nullptr);
  xcb_flush(connection.get());
  while (const ReplyPtr<xcb_generic_event_t> event{xcb_wait_for_event(connection.get())})
    if ((event->response_type & 0x7F) == XCB_PROPERTY_NOTIFY)
      return reinterpret_cast<const xcb_property_notify_event_t&>(*event).time;
  throw std::runtime_error("no server");
}

std::string EventRecorder::takeText() {
  std::string text;
  for (const auto& event : take()) {
    if (event.kind != Received::Kind::keyDown) continue;
    std::array<char, 8> utf8{};
    if (xkb_keysym_to_utf8(event.symbol, utf8.data(), utf8.size()) > 0) text += utf8.data();
  }
  return text;
}

std::optional<Received> EventRecorder::convert(const xcb_generic_event_t& event) {
  using Kind = Received::Kind;
  const auto& key = reinterpret_cast<const xcb_key_press_event_t&>(event);
  const auto make = [&](Kind kind, xkb_keysym_t symbol) {
    return Received{kind, key.detail, key.state, key.root_x, key.root_y, symbol, key.time};
  };
  switch (event.response_type & 0x7F) {
    case XCB_KEY_PRESS:
      return make(Kind::keyDown, symbolOf(key));
    case XCB_KEY_RELEASE:
      return make(Kind::keyUp, symbolOf(key));
    case XCB_BUTTON_PRESS:
      return make(Kind::buttonDown, 0);
    case XCB_BUTTON_RELEASE:
      return make(Kind::buttonUp, 0);
    case XCB_MOTION_NOTIFY:
      return make(Kind::motion, 0);
    default:
      return std::nullopt;
  }
}

/// An event carries its modifiers in the low byte of its state and its group in bits 13 and 14.
xkb_keysym_t EventRecorder::symbolOf(const xcb_key_press_event_t& key) {
  const std::unique_ptr<xkb_state, void (*)(xkb_state*)> state(xkb_state_new(keymap_.get()),
                                                               &xkb_state_unref);
  xkb_state_update_mask(state.get(), key.state & 0xFFU, 0, 0, 0, 0, (key.state >> 13) & 3U);
  return xkb_state_key_get_one_sym(state.get(), key.detail);
}

}  // namespace vesk::testing
