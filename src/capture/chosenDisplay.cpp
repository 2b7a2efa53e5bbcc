#include "capture/chosenDisplay.h"

#include <algorithm>

namespace vesk {

std::optional<ShareableDisplay> chosenDisplay(std::span<const ShareableDisplay> displays,
                                              DisplayId mainDisplay) {
  if (displays.empty()) return std::nullopt;
  const auto main = std::ranges::find(displays, mainDisplay, &ShareableDisplay::displayID);
  return main == displays.end() ? displays.front() : *main;
}

}  // namespace vesk
