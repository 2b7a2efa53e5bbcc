#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "platform/linux/picture/PixelRect.h"

namespace vesk::testing {

/// The pixels of a screen, without padding bits.
using Pixels = std::vector<std::uint32_t>;

/// Those of a picture of so many.
Pixels pixelsOf(const std::uint8_t* picture, std::size_t count);

/// What two pictures of a screen may differ in and still count as the same.
struct Tolerance {
  int levels = 0;  ///< of a channel, that no pixel is held to
  int pixels = 0;  ///< beyond that: shadows
  int loud = 0;    ///< of these, with more levels than a shadow has: rounded corners
};

/// How two pictures of a screen differ.
struct Difference {
  static constexpr int loudLevels = 64;

  int pixels = 0;           ///< that differ by more than is tolerated
  int loud = 0;             ///< of them, by more than a shadow does
  int most = 0;             ///< levels in a channel
  picture::PixelRect area;  ///< around all of them
  bool isNone() const { return pixels == 0; }
  bool isWithin(const Tolerance& limit) const {
    return pixels <= limit.pixels && loud <= limit.loud;
  }
};

Difference difference(const Pixels& a, const Pixels& b, int width, int toleratedLevels);

/// How many pixels are of that colour, whatever their padding bits are.
int count(std::span<const std::uint32_t> pixels, std::uint32_t colour);

/// Leaves a picture of a desktop, of that step of the running test, in the folder that the
/// environment variable VESK_TEST_PICTURES names, if it does: for a person to look at.
void keepPicture(const Pixels& pixels, int width, const std::string& step);

}  // namespace vesk::testing
