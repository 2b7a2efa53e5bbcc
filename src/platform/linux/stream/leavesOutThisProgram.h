#pragma once

#include "platform/ScreenCapture.h"

namespace vesk::stream {

/// Whether images are to be made without what this program itself shows.
bool leavesOutThisProgram(const ContentFilter& filter);

}  // namespace vesk::stream
