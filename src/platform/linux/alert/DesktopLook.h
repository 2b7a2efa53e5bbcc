#pragma once

namespace vesk::alert {

/// Makes the windows that come up from now on look as the desktop's own do at this moment, as far
/// as Qt's theme for the desktop leaves that open: that knows fonts and often colours. Thread:
/// main, with an application object.
void followDesktopLook();

}  // namespace vesk::alert
