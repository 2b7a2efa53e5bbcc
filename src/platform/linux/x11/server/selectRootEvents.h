#pragma once

#include <cstdint>

#include "platform/linux/x11/server/Connection.h"

namespace vesk::x11::server {

/// Has the server tell the connection of these events of the root window too, beside those that
/// were asked for before. Thread: the connection's. Waits for the server.
void selectRootEvents(const Connection& connection, std::uint32_t mask);

}  // namespace vesk::x11::server
