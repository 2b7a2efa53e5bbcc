#pragma once

#include <wayland-client.h>

#include "platform/Geometry.h"
#include "platform/linux/picture/PixelRect.h"

namespace vesk::wayland::screen {

using picture::PixelRect;

/// Where a rectangle of a panel of that size lies as the person sees it.
PixelRect turned(const PixelRect& rect, PixelSize panel, wl_output_transform transform);

/// The size of what the person sees.
PixelSize turned(PixelSize panel, wl_output_transform transform);

/// What turns it back.
wl_output_transform inverse(wl_output_transform transform);

}  // namespace vesk::wayland::screen
