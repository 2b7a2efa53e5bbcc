#pragma once

#include "platform/Displays.h"
#include "platform/ScreenCapture.h"

namespace vesk {

/// The pixels that a display's panel really has. The current mode knows best, since a scaled
/// display counts points elsewhere; then the window system's count; then what the list of displays
/// says.
PixelSize panelPixels(const ShareableDisplay& display, Displays& displays);

}  // namespace vesk
