#pragma once

#include <cstdint>

#include "platform/linux/x11/server/Connection.h"

namespace vesk::x11::screen {

/// Tells when monitors come, go or change.
///
/// Thread: one at a time. Owns: nothing; the connection's owner hands on every event.
class LayoutWatch {
 public:
  /// The server offers RandR.
  explicit LayoutWatch(const server::Connection& connection);

  bool isTold(const xcb_generic_event_t& event) const;

 private:
  std::uint8_t firstEvent_;
  xcb_window_t root_;
};

}  // namespace vesk::x11::screen
