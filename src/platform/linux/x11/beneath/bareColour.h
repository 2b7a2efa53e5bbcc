#pragma once

#include <cstdint>
#include <vector>

#include "platform/linux/x11/server/Connection.h"
#include "platform/linux/x11/server/rectangles.h"

namespace vesk::x11::beneath {

/// The colour of the screen at a place in `area` where none of these lies: windows, and what own
/// windows may still be shown in. 0 where there is no such place, or the server is gone. Thread:
/// the connection's. Waits for the server.
std::uint32_t bareColour(const server::Connection& connection, const PixelRect& area,
                         const std::vector<PixelRect>& covers);

}  // namespace vesk::x11::beneath
