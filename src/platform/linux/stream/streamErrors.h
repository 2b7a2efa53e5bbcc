#pragma once

#include "platform/ScreenCapture.h"

/// What a stream of any desktop says when it cannot begin or go on.
namespace vesk::stream::streamError {

inline const PlatformError displayGone{"The display was turned off or unplugged."};
inline const PlatformError displayChanged{"The display changed its size or place."};
inline const PlatformError noThread{"This program has too many threads running."};
inline const PlatformError noDescriptor{"This program has too many files open."};

}  // namespace vesk::stream::streamError
