#pragma once

#include "platform/linux/stream/streamErrors.h"

/// What a stream says when it cannot begin or go on.
namespace vesk::portal::screen::streamError {

using namespace stream::streamError;

inline const PlatformError notReadable{"The desktop does not let its screen be read."};
inline const PlatformError noPicture{"The desktop sends no picture of its screen."};
inline const PlatformError givenUp{"The stream was stopped before it began."};
inline const PlatformError stopped{"The desktop has stopped sharing its screen."};
inline const PlatformError serviceGone{"The service that brings the desktop's picture is gone."};

}  // namespace vesk::portal::screen::streamError
