#pragma once

#include "platform/ScreenCapture.h"

/// Why there is no session with the portal, or none any more.
namespace vesk::portal::session::sessionError {

inline const PlatformError refused{"The desktop asked whether to share the screen, and got a no."};
inline const PlatformError unanswered{
    "The desktop asked whether to share the screen, and nobody answered."};
inline const PlatformError withdrawn{
    "The desktop asked whether to share the screen, and the session was over before the answer."};
inline const PlatformError failed{"The desktop could not share the screen."};
inline const PlatformError ended{"The desktop has stopped sharing the screen."};
inline const PlatformError noPortal{"The desktop's portal, which shares the screen, is not there."};
inline const PlatformError silentPortal{
    "The desktop's portal, which shares the screen, does not answer."};
inline const PlatformError portalGone{"The desktop's portal, which shares the screen, has ended."};
inline const PlatformError busGone{"The desktop's message bus cannot be reached."};

}  // namespace vesk::portal::session::sessionError
