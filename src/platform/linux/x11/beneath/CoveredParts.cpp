#include "platform/linux/x11/beneath/CoveredParts.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace vesk::x11::beneath {
namespace {

/// How far the shadow of a framed window reaches that a compositor draws.
constexpr std::int32_t shadowReach = 40;

std::int64_t pixelsOf(const PixelRect& rect) { return std::int64_t{rect.width} * rect.height; }

}  // namespace

std::vector<PixelRect> CoveredParts::update(const std::vector<StackedWindow>& windows,
                                            bool composited, Time now) {
  composited_ = composited;
  own_.clear();
  std::ranges::copy_if(windows, std::back_inserter(own_), &StackedWindow::own);
  for (const auto& each : std::exchange(leftBefore_, {})) {
    if (composited_) leave(partOf(each.window), each.at);
  }
  std::erase_if(left_, [&](const Left& left) { return left.until <= now; });
  const auto before = std::exchange(covered_, {});
  for (const auto& window : own_) covered_.push_back(partOf(window));
  for (const auto& part : before) {
    if (composited_ && std::ranges::count(covered_, part) == 0) leave(part, now);
  }
  auto parts = covered_;
  for (const auto& left : left_) parts.push_back(left.part);
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
  if (moved.frame != found->frame) leave(partOf(moved), now);
}

CoveredParts::Time CoveredParts::overdueAt() const {
  const auto first = std::ranges::min_element(left_, {}, &Left::until);
  return first == left_.end() ? Time::max() : first->until;
}

/// A compositor draws shadows around frames, which are the program's own too.
PixelRect CoveredParts::partOf(const StackedWindow& window) const {
  const bool shadowed = window.framed && composited_;
  return intersection(padded(window.frame, shadowed ? shadowReach : 0), area_);
}

/// A window that moves leaves one growing trace, not many; the edges of a border stay apart.
void CoveredParts::leave(const PixelRect& part, Time at) {
  if (part.isEmpty()) return;
  Left trace{part, at + longestFading};
  std::erase_if(left_, [&](const Left& left) {
    const auto both = around(left.part, trace.part);
    const bool goesOn = !intersection(left.part, trace.part).isEmpty() &&
                        pixelsOf(both) <= 2 * (pixelsOf(left.part) + pixelsOf(trace.part));
    if (goesOn) trace = {both, std::max(left.until, trace.until)};
    return goesOn;
  });
  left_.push_back(trace);
}

}  // namespace vesk::x11::beneath
