#include "platform/linux/x11/beneath/ClearedRoot.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace vesk::x11::beneath {

void ClearedRoot::note(const std::vector<PixelRect>& bare, const std::vector<PixelRect>& drawn,
                       const std::uint8_t* picture) {
  samples_.clear();
  auto left = bare;
  for (const auto& rect : drawn) left = without(left, rect);
  if (!left.empty()) return;
  // Along the diagonals, where a picture is hardly of one colour.
  constexpr std::int32_t steps = 8;
  for (const auto& piece : bare) {
    for (std::int32_t i = 0; i < steps; ++i) {
      const std::int32_t x = piece.x + (piece.width - 1) * i / (steps - 1);
      const std::int32_t y = piece.y + (piece.height - 1) * i / (steps - 1);
      samples_.push_back({x, y, pixel(picture, x, y)});
    }
  }
}

bool ClearedRoot::isSeenIn(const std::uint8_t* picture) {
  const auto samples = std::exchange(samples_, {});
  if (samples.empty()) return false;
  const auto colourNow = [&](const Sample& sample) { return pixel(picture, sample.x, sample.y); };
  const std::uint32_t first = colourNow(samples.front());
  return std::ranges::all_of(samples, [&](const Sample& s) { return colourNow(s) == first; }) &&
         std::ranges::any_of(samples, [&](const Sample& s) { return s.colour != first; });
}

std::uint32_t ClearedRoot::pixel(const std::uint8_t* picture, std::int32_t x,
                                 std::int32_t y) const {
  const auto row = static_cast<std::size_t>(y - area_.y);
  const auto place =
      row * static_cast<std::size_t>(area_.width) + static_cast<std::size_t>(x - area_.x);
  std::uint32_t value = 0;
  std::memcpy(&value, picture + place * sizeof value, sizeof value);
  return value;
}

}  // namespace vesk::x11::beneath
