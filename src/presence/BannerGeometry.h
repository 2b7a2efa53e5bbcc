#pragma once

#include "platform/Geometry.h"

namespace vesk {

/// The strip that hangs from the middle of the screen's top edge. Points.
Rect stripFrame(const Rect& screen);

/// The strip's text, in the strip.
Rect stripLabelFrame(const Rect& strip);

}  // namespace vesk
