#pragma once

#include <chrono>
#include <functional>

#include "platform/InputGate.h"
#include "platform/linux/x11/server/Connection.h"

namespace vesk::x11::server {

/// The program that has the input focus, asked whether it has read what was typed. Most programs
/// answer a window manager's "are you there", and read their events in order: an answer says that
/// everything before the question was read.
///
/// Thread: one at a time. Fails: as no answer; soon, once the gate is shut.
class Reader {
 public:
  using Clock = std::chrono::steady_clock;
  using OtherEvent = std::function<void(const xcb_generic_event_t&)>;

  /// Both outlive this object; nobody else has asked the connection for events of the root window.
  Reader(const Connection& connection, const InputGate& gate);

  /// Whether the program answered before the deadline. False at once when it takes no questions, or
  /// the gate is shut.
  /// Events of other kinds that come meanwhile are handed on.
  bool hasReadEverything(Clock::time_point deadline, const OtherEvent& onOther);

 private:
  xcb_window_t windowThatAnswers() const;
  bool answers(xcb_window_t window) const;
  void listenToRoot(std::uint32_t mask) const;
  void ask(xcb_window_t window);
  bool isAnswer(const xcb_generic_event_t& event, xcb_window_t window) const;
  bool awaitAnswer(xcb_window_t window, Clock::time_point deadline, const OtherEvent& onOther);

  const Connection& connection_;
  const InputGate& gate_;
  xcb_atom_t protocols_ = XCB_ATOM_NONE;
  xcb_atom_t ping_ = XCB_ATOM_NONE;
  std::uint32_t question_ = 0;
};

}  // namespace vesk::x11::server
