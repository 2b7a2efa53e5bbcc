#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "platform/linux/picture/PixelLayout.h"
#include "platform/linux/x11/server/Connection.h"
#include "platform/linux/x11/server/rectangles.h"

namespace vesk::x11::beneath {

/// The value that most of the pixels have; of several, the smallest. 0 where there are none.
std::uint32_t mostFrequent(std::span<const std::uint32_t> pixels);

/// A screen's pixel as 0xrrggbb.
std::uint32_t inEightBits(std::uint32_t pixel, picture::PixelLayout layout);

/// The colour of a frame that only the compositor has, taken from where the screen shows it: it
/// stands for what own windows hide of it. A title that lies there cannot be known.
///
/// Thread: one at a time. Fails: as no colour, while nothing of the frame has been in sight.
class FrameColour {
 public:
  /// The pieces of the root window where the screen shows the frame and no own window.
  void setInSight(std::vector<PixelRect> pieces) { inSight_ = std::move(pieces); }

  /// Whether some of them was drawn.
  bool isTouchedBy(const std::vector<PixelRect>& drawn) const;

  /// Looks at the screen; whether the colour is another than before. Waits for the server.
  bool look(const server::Connection& connection);

  /// As 0xrrggbb.
  std::optional<std::uint32_t> colour() const { return colour_; }

 private:
  std::vector<PixelRect> inSight_;
  std::optional<std::uint32_t> colour_;
};

}  // namespace vesk::x11::beneath
