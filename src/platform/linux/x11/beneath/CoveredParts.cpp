#include "platform/linux/x11/beneath/CoveredParts.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace vesk::x11::beneath {
namespace {

/// How far the shadow of a framed window reaches that a compositor draws.
constexpr std::int32_t shadowReach = 40;

}  // namespace

std::vector<PixelRect> CoveredParts::update(const std::vector<StackedWindow>& windows,
                                            bool composited, Time now) {
  composited_ = composited;
  own_.clear();
  std::ranges::copy_if(windows, std::back_inserter(own_), &StackedWindow::own);
  for (const auto& each : std::exchange(leftBefore_, {})) {
    if (composited_) left_.leave(partOf(each.window), each.at);
  }
  left_.forgetUntil(now);
  const auto before = std::exchange(covered_, {});
  for (const auto& window : own_) covered_.push_back(partOf(window));
  for (const auto& part : before) {
    if (composited_ && std::ranges::count(covered_, part) == 0) left_.leave(part, now);
  }
  auto parts = covered_;
  const auto left = left_.parts();
  parts.insert(parts.end(), left.begin(), left.end());
  return disjoint(parts);
}

/// Where a window has only passed through, a compositor may still show it later on.
void CoveredParts::handle(const xcb_generic_event_t& event, Time now) {
  if ((event.response_type & 0x7f) != XCB_CONFIGURE_NOTIFY || !composited_) return;
  const auto& notice = reinterpret_cast<const xcb_configure_notify_event_t&>(event);
  const auto found = std::ranges::find(own_, notice.window, &StackedWindow::id);
  if (found == own_.end()) return;
  auto moved = *found;
  moved.frame = {notice.x, notice.y, notice.width + 2 * notice.border_width,
                 notice.height + 2 * notice.border_width};
  if (moved.frame != found->frame) left_.leave(partOf(moved), now);
}

/// A compositor draws shadows around frames, which are the program's own too.
PixelRect CoveredParts::partOf(const StackedWindow& window) const {
  const bool shadowed = window.framed && composited_;
  return intersection(padded(window.frame, shadowed ? shadowReach : 0), area_);
}

}  // namespace vesk::x11::beneath
