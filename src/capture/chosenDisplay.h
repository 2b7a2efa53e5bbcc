#pragma once

#include <optional>
#include <span>

#include "platform/ScreenCapture.h"

namespace vesk {

/// The main display wherever it stands in the list, else the first one; nothing from an empty list.
std::optional<ShareableDisplay> chosenDisplay(std::span<const ShareableDisplay> displays,
                                              DisplayId mainDisplay);

}  // namespace vesk
