#pragma once

#include "platform/ScreenCapture.h"
#include "platform/linux/wayland/server/Connection.h"
#include "platform/linux/wayland/server/OutputList.h"

namespace vesk::wayland::server {

inline const PlatformError compositorGone{"The Wayland compositor is gone."};

ShareableDisplay shareableDisplay(const Output& output);

/// The compositor's outputs. It tells of no other program's windows, so this program is all there
/// is of applications.
ShareableContent shareableOutputs(Connection& connection);

}  // namespace vesk::wayland::server
