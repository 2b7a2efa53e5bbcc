#pragma once

#include <optional>

#include "platform/linux/picture/PixelLayout.h"
#include "platform/linux/x11/server/Connection.h"

namespace vesk::x11::server {

/// How the root window's pixels hold their colours; nothing where that is a way that no picture is
/// made of. Thread: any. Asks nothing of the server.
std::optional<picture::PixelLayout> pixelLayout(const Connection& connection);

}  // namespace vesk::x11::server
