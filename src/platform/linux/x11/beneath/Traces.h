#pragma once

#include <chrono>
#include <vector>

#include "platform/linux/x11/server/rectangles.h"

namespace vesk::x11::beneath {

/// Longer than a compositor takes to let a window fade away.
constexpr std::chrono::milliseconds longestFading{500};

/// Parts of the root window that windows have left, for as long as a compositor may still show them
/// there: it draws when it likes, and some let windows fade away.
///
/// Thread: one at a time. Fails: never.
class Traces {
 public:
  using Time = std::chrono::steady_clock::time_point;

  /// A window that moves leaves one growing trace, not many; the edges of a border stay apart.
  void leave(const PixelRect& part, Time at);

  /// Forgets those that are over by then.
  void forgetUntil(Time now);

  /// When the first of them is over; in the far future where there is none.
  Time overdueAt() const;

  std::vector<PixelRect> parts() const;

 private:
  struct Trace {
    PixelRect part;
    Time until;
  };
  std::vector<Trace> traces_;
};

}  // namespace vesk::x11::beneath
