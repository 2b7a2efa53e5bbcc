#pragma once

#include "platform/linux/stream/streamErrors.h"

/// What a stream says when it cannot begin or go on.
namespace vesk::x11::screen::streamError {

using namespace stream::streamError;

inline const PlatformError serverGone{"The X server is gone."};
inline const PlatformError notReadable{"The X server does not let its screen be read."};
inline const PlatformError strangeColours{
    "The X server keeps its screen's colours in a way that this program cannot read."};

}  // namespace vesk::x11::screen::streamError
