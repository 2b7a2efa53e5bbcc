#include "platform/linux/x11/server/Reader.h"

#include <poll.h>

#include <algorithm>
#include <span>

#include "platform/linux/x11/server/Properties.h"

namespace vesk::x11::server {

Reader::Reader(const Connection& connection, const InputGate& gate)
    : connection_(connection), gate_(gate) {}

bool Reader::hasReadEverything(Clock::time_point deadline, const OtherEvent& onOther) {
  if (ping_ == XCB_ATOM_NONE) {
    protocols_ = atom(connection_.get(), "WM_PROTOCOLS");
    ping_ = atom(connection_.get(), "_NET_WM_PING");
  }
  const xcb_window_t window = windowThatAnswers();
  if (window == XCB_NONE) return false;
  // The answer is sent to the root window, where the window manager would find it. Qt sends it
  // under another mask than everybody else.
  listenToRoot(XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY | XCB_EVENT_MASK_STRUCTURE_NOTIFY);
  ask(window);
  const bool answered = awaitAnswer(window, deadline, onOther);
  listenToRoot(XCB_EVENT_MASK_NO_EVENT);
  return answered;
}

/// The focus may lie in a window deep inside the one that takes the question.
xcb_window_t Reader::windowThatAnswers() const {
  constexpr int deepest = 16;
  const ReplyPtr<xcb_get_input_focus_reply_t> focus(xcb_get_input_focus_reply(
      connection_.get(), xcb_get_input_focus(connection_.get()), nullptr));
  xcb_window_t window = focus == nullptr ? xcb_window_t{XCB_NONE} : focus->focus;
  for (int depth = 0; depth < deepest; ++depth) {
    if (window <= XCB_INPUT_FOCUS_POINTER_ROOT || window == connection_.root()) return XCB_NONE;
    if (answers(window)) return window;
    const ReplyPtr<xcb_query_tree_reply_t> tree(xcb_query_tree_reply(
        connection_.get(), xcb_query_tree(connection_.get(), window), nullptr));
    if (tree == nullptr) return XCB_NONE;
    window = tree->parent;
  }
  return XCB_NONE;
}

bool Reader::answers(xcb_window_t window) const {
  constexpr std::uint32_t enough = 64;
  const ReplyPtr<xcb_get_property_reply_t> property(xcb_get_property_reply(
      connection_.get(),
      xcb_get_property(connection_.get(), 0, window, protocols_, XCB_ATOM_ATOM, 0, enough),
      nullptr));
  if (property == nullptr || property->format != 32) return false;
  const std::span atoms(static_cast<const xcb_atom_t*>(xcb_get_property_value(property.get())),
                        property->value_len);
  return std::ranges::find(atoms, ping_) != atoms.end();
}

void Reader::listenToRoot(std::uint32_t mask) const {
  xcb_change_window_attributes(connection_.get(), connection_.root(), XCB_CW_EVENT_MASK, &mask);
  xcb_flush(connection_.get());
}

void Reader::ask(xcb_window_t window) {
  xcb_client_message_event_t message{};
  message.response_type = XCB_CLIENT_MESSAGE;
  message.format = 32;
  message.window = window;
  message.type = protocols_;
  message.data.data32[0] = ping_;
  message.data.data32[1] = ++question_;
  message.data.data32[2] = window;
  xcb_send_event(connection_.get(), 0, window, XCB_EVENT_MASK_NO_EVENT,
                 reinterpret_cast<const char*>(&message));
  xcb_flush(connection_.get());
}

bool Reader::isAnswer(const xcb_generic_event_t& event, xcb_window_t window) const {
  if ((event.response_type & 0x7F) != XCB_CLIENT_MESSAGE) return false;
  const auto& message = reinterpret_cast<const xcb_client_message_event_t&>(event);
  return message.type == protocols_ && message.data.data32[0] == ping_ &&
         message.data.data32[1] == question_ && message.data.data32[2] == window;
}

bool Reader::awaitAnswer(xcb_window_t window, Clock::time_point deadline,
                         const OtherEvent& onOther) {
  while (connection_ && gate_.isOpen()) {
    while (const ReplyPtr<xcb_generic_event_t> event{xcb_poll_for_event(connection_.get())}) {
      if (isAnswer(*event, window)) return true;
      onOther(*event);
    }
    const auto left =
        std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now());
    if (left.count() <= 0) return false;
    // Nothing that can be polled tells of the gate.
    constexpr std::chrono::milliseconds untilGateIsAsked{5};
    pollfd descriptor{xcb_get_file_descriptor(connection_.get()), POLLIN, 0};
    ::poll(&descriptor, 1, static_cast<int>(std::min(left, untilGateIsAsked).count()));
  }
  return false;
}

}  // namespace vesk::x11::server
