#include "platform/linux/x11/beneath/WindowsBeneath.h"

#include <algorithm>
#include <utility>

namespace vesk::x11::beneath {

bool WindowsBeneath::choose(WindowStack& stack, const std::vector<PixelRect>& parts) {
  const auto replaced = stack.takeReplaced();
  std::map<xcb_window_t, std::unique_ptr<WindowContents>> chosen;
  std::vector<WindowContents*> order;
  bool changed = false;
  // What followed it in the server went with it, and follows no other window of its number.
  for (const auto id : stack.takeDestroyed()) changed = contents_.erase(id) > 0 || changed;
  for (const auto& window : stack.windows()) {
    const auto format = formats_.find(window.visual);
    const auto covers = [&](const PixelRect& part) {
      return !intersection(part, window.shown).isEmpty();
    };
    if (window.own || format == formats_.end() || std::ranges::none_of(parts, covers)) continue;
    auto& contents = chosen[window.id];
    if (const auto known = contents_.find(window.id); known != contents_.end()) {
      contents = std::move(known->second);
      if (replaced.contains(window.id) || contents->window() != window) {
        contents->renew(window);
        changed = true;
      }
    } else {
      contents = std::make_unique<WindowContents>(connection_, window, format->second);
    }
    order.push_back(contents.get());
  }
  changed = changed || order != bottomToTop_;
  contents_ = std::move(chosen);
  bottomToTop_ = std::move(order);
  return changed;
}

WindowContents* WindowsBeneath::find(xcb_window_t window) const {
  const auto found = contents_.find(window);
  return found == contents_.end() ? nullptr : found->second.get();
}

}  // namespace vesk::x11::beneath
