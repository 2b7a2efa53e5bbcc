#pragma once

#include "platform/linux/wayland/server/Connection.h"

namespace vesk::wayland::server {

/// Whether a compositor offers all that a session needs: its screen with what has changed, virtual
/// input devices, and windows above all others.
bool offersDesktop(const Connection& connection);

}  // namespace vesk::wayland::server
