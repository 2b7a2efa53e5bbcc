#pragma once

#include <xcb/xcb.h>

#include <optional>

#include "platform/DeliberateAct.h"

namespace vesk::x11::alert {

/// The server's time. Neither changes of the focus nor of a window's place tell when they were; a
/// changed property does.
///
/// Thread: main. Owns: nothing; the connection, which may be null and is asked nothing then, and
/// the window outlive it. Their owner is told of the window's properties and hands that on.
class ServerTime {
 public:
  using Time = DeliberateAct::Time;

  ServerTime(xcb_connection_t* connection, xcb_window_t window);

  /// What time it is for the server now.
  void ask();

  /// The answer, if the event is the one to the last question: what was asked for earlier is older
  /// than what has happened since.
  std::optional<Time> answerOf(const xcb_property_notify_event_t& event);

  /// A time that the server tells, which counts milliseconds in 32 bits.
  Time timeOf(xcb_timestamp_t time) const;

 private:
  xcb_connection_t* connection_;
  xcb_window_t window_;
  xcb_atom_t property_ = XCB_NONE;
  Time last_{0};
  int unanswered_ = 0;
};

}  // namespace vesk::x11::alert
