#pragma once

#include <cstdint>
#include <vector>

#include "platform/linux/x11/server/Connection.h"
#include "platform/linux/x11/server/SharedPixels.h"
#include "platform/linux/x11/server/rectangles.h"

namespace vesk::x11::beneath {

/// The colour of the screen at the place nearest to the middle of `part` in one of these pieces,
/// where no window lies: a background changes least from there to what is not to be seen. 0 where
/// there are no pieces, or the server is gone. Thread: the connection's. Waits for the server.
std::uint32_t bareColour(const server::Connection& connection, const PixelRect& part,
                         const std::vector<PixelRect>& bare);

/// The same of a picture that was taken of `area` of the root window. Any thread.
std::uint32_t bareColour(const server::SharedPixels& picture, const PixelRect& area,
                         const PixelRect& part, const std::vector<PixelRect>& bare);

}  // namespace vesk::x11::beneath
