#pragma once

#include "platform/linux/stream/streamErrors.h"
#include "platform/linux/wayland/server/shareableOutputs.h"

/// What a stream says when it cannot begin or go on.
namespace vesk::wayland::screen::streamError {

using namespace stream::streamError;
using server::compositorGone;

inline const PlatformError notReadable{"The Wayland compositor does not let its screen be read."};
inline const PlatformError strangeColours{
    "The Wayland compositor keeps its screen's colours in a way that this program cannot read."};

}  // namespace vesk::wayland::screen::streamError
