#pragma once

#include "platform/linux/x11/server/Connection.h"

/// What the X server can do for the program is what the program is allowed to do: X has no grants
/// of its own. Thread: any. Fails: as "no", when the server is gone.
namespace vesk::x11::server {

/// Whether the screen can be recorded, and recorded without the program's own windows.
bool grantsScreenCapture(const Connection& connection);

/// Whether input can be posted.
bool grantsInput(const Connection& connection);

/// Whether this server only shows X programs inside a Wayland session: it sees neither the screen
/// nor the person's input.
bool servesWayland(const Connection& connection);

}  // namespace vesk::x11::server
