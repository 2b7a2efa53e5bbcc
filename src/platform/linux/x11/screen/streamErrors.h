#pragma once

#include "platform/ScreenCapture.h"

/// What a stream says when it cannot begin or go on.
namespace vesk::x11::screen::streamError {

inline const PlatformError serverGone{"The X server is gone."};
inline const PlatformError notReadable{"The X server does not let its screen be read."};
inline const PlatformError strangeColours{
    "The X server keeps its screen's colours in a way that this program cannot read."};
inline const PlatformError displayGone{"The display was turned off or unplugged."};
inline const PlatformError displayChanged{"The display changed its size or place."};
inline const PlatformError noThread{"This program has too many threads running."};
inline const PlatformError noDescriptor{"This program has too many files open."};

}  // namespace vesk::x11::screen::streamError
