#pragma once

#include "platform/linux/x11/server/Connection.h"

namespace vesk::x11::overlay {

/// Whether a full-screen program is up for which a compositor steps aside, as games and players
/// have it: it takes its picture off the screen, and with it whatever was to be blended.
///
/// A guess by the windows that are there, for a moment at which nobody tells: such a window covers
/// the screen, is opaque, and is either out of the window manager's hands or asks for it by a hint.
/// Thread: the connection's. Waits for the server.
bool isCompositorLikelyAside(const server::Connection& connection);

}  // namespace vesk::x11::overlay
