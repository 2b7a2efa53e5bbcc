#pragma once

#include "platform/ScreenCapture.h"

namespace vesk::stream {

/// What a stream of any desktop says when it cannot begin or go on.
namespace streamError {

inline const PlatformError displayGone{"The display was turned off or unplugged."};
inline const PlatformError displayChanged{"The display changed its size or place."};
inline const PlatformError noThread{"This program has too many threads running."};
inline const PlatformError noDescriptor{"This program has too many files open."};

}  // namespace streamError

/// Why something failed that needs a descriptor: this process's own limit, or the other reason.
PlatformError unlessNoDescriptor(const PlatformError& other);

}  // namespace vesk::stream
