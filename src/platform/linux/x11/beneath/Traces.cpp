#include "platform/linux/x11/beneath/Traces.h"

#include <algorithm>

namespace vesk::x11::beneath {
namespace {

std::int64_t pixelsOf(const PixelRect& rect) { return std::int64_t{rect.width} * rect.height; }

}  // namespace

void Traces::leave(const PixelRect& part, Time at) {
  if (part.isEmpty()) return;
  Trace trace{part, at + longestFading};
  std::erase_if(traces_, [&](const Trace& left) {
    const auto both = around(left.part, trace.part);
    const bool goesOn = !intersection(left.part, trace.part).isEmpty() &&
                        pixelsOf(both) <= 2 * (pixelsOf(left.part) + pixelsOf(trace.part));
    if (goesOn) trace = {both, std::max(left.until, trace.until)};
    return goesOn;
  });
  traces_.push_back(trace);
}

void Traces::forgetUntil(Time now) {
  std::erase_if(traces_, [&](const Trace& trace) { return trace.until <= now; });
}

Traces::Time Traces::overdueAt() const {
  const auto first = std::ranges::min_element(traces_, {}, &Trace::until);
  return first == traces_.end() ? Time::max() : first->until;
}

std::vector<PixelRect> Traces::parts() const {
  std::vector<PixelRect> parts;
  parts.reserve(traces_.size());
  for (const auto& trace : traces_) parts.push_back(trace.part);
  return parts;
}

}  // namespace vesk::x11::beneath
