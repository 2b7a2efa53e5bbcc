#pragma once

#include <cstdint>
#include <vector>

#include "platform/linux/x11/server/rectangles.h"

namespace vesk::x11::beneath {

/// Finds out by looking that the root window was cleared to another colour: the server tells nobody
/// what background it has.
///
/// Thread: one at a time. Fails: never.
class ClearedRoot {
 public:
  /// `area` is the monitor's in the root window.
  explicit ClearedRoot(const PixelRect& area) : area_(area) {}

  /// Takes in what was drawn, before `picture`, of the monitor, shows it. Only where the root
  /// window is bare, and all of it was drawn, it may have been cleared.
  void note(const std::vector<PixelRect>& bare, const std::vector<PixelRect>& drawn,
            const std::uint8_t* picture);

  /// Whether it was, by what the picture shows now: one colour, which not all of it had before.
  /// Tells so once.
  bool isSeenIn(const std::uint8_t* picture);

 private:
  /// A pixel as it was before.
  struct Sample {
    std::int32_t x = 0;
    std::int32_t y = 0;
    std::uint32_t colour = 0;
  };
  std::uint32_t pixel(const std::uint8_t* picture, std::int32_t x, std::int32_t y) const;

  PixelRect area_;
  std::vector<Sample> samples_;
};

}  // namespace vesk::x11::beneath
