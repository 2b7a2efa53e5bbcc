#include "platform/linux/x11/beneath/FramesBeneath.h"

#include <algorithm>
#include <utility>

namespace vesk::x11::beneath {

bool FramesBeneath::look(const std::vector<StackedWindow>& windows,
                         const std::vector<PixelRect>& covered) {
  covered_ = covered;
  bool changed = false;
  auto hidden = covered;
  std::for_each(windows.rbegin(), windows.rend(), [&](const StackedWindow& window) {
    auto* const contents = beneath_.find(window.id);
    if (contents != nullptr && window.kept != window.shown) {
      auto pieces = without({intersection(window.shown, area_)}, window.kept);
      for (const auto& cover : hidden) pieces = without(pieces, cover);
      auto& colour = contents->frameColour();
      colour.setInSight(std::move(pieces));
      changed = colour.look(connection_) || changed;
    }
    if (!window.own) hidden.push_back(window.shown);
  });
  return changed;
}

/// A frame that looks different where it is in sight does so where it is hidden.
std::vector<PixelRect> FramesBeneath::takeDamage(const std::vector<PixelRect>& drawn) const {
  std::vector<PixelRect> rects;
  for (auto* const contents : beneath_.bottomToTop()) {
    auto& colour = contents->frameColour();
    if (!colour.isTouchedBy(drawn) || !colour.look(connection_)) continue;
    for (const auto& part : covered_) {
      const auto rect = intersection(part, contents->window().shown);
      if (!rect.isEmpty()) rects.push_back(rect);
    }
  }
  return rects;
}

}  // namespace vesk::x11::beneath
