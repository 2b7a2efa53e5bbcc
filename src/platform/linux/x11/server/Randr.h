#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "platform/Displays.h"
#include "platform/linux/x11/server/Connection.h"

namespace vesk::x11::server {

/// One active monitor: its first output, and its place in the root window in pixels.
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

/// The pixels of the mode that the output shows, as the person sees them (turned with the picture),
/// or nothing when the output shows none.
std::optional<PixelSize> modeSize(const Connection& connection, DisplayId output);

}  // namespace vesk::x11::server
