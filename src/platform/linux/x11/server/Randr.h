#pragma once

#include <cstdint>
#include <vector>

#include "platform/Displays.h"
#include "platform/linux/x11/server/Connection.h"

namespace vesk::x11::server {

/// One active monitor: its first output, and its place in the root window in pixels. None of it
/// lies outside.
struct Monitor {
  DisplayId output = 0;
  bool primary = false;
  std::int32_t x = 0;
  std::int32_t y = 0;
  std::int32_t width = 0;
  std::int32_t height = 0;
};

/// Thread: any. The active monitors in the server's order; empty where RandR 1.5 is missing or the
/// server is gone.
std::vector<Monitor> monitors(const Connection& connection);

/// Has the server, which offers RandR, tell the connection when monitors come, go or change: by
/// RandR's events, and by changes of the root window, which alone tell of a monitor that the person
/// has defined. Thread: the connection's. Waits for the server.
void selectMonitorEvents(const Connection& connection);

}  // namespace vesk::x11::server
