#include "platform/linux/wayland/beneath/unblend.h"

#include <algorithm>
#include <array>
#include <bit>

namespace vesk::wayland::beneath {

static_assert(std::endian::native == std::endian::little, "bytes of a pixel are taken one by one");

namespace {

/// How often a step beneath fits into one that is seen, in parts of 1024.
std::int16_t factorOf(std::uint8_t alpha) {
  const int rest = 255 - std::min(alpha, mostAlphaToUndo);
  return static_cast<std::int16_t>((255 * 1024 + rest / 2) / rest);
}

std::uint8_t beneath(std::uint8_t seen, std::uint8_t laid, std::int16_t factor) {
  // In halves of a step, so that the last of them rounds; 16 bits hold all of it.
  const auto left = static_cast<std::int16_t>((seen - laid) * 128);
  const auto halves = static_cast<std::int16_t>((left * factor) >> 16);
  const auto rounded = static_cast<std::int16_t>((halves + 1) >> 1);
  return static_cast<std::uint8_t>(std::clamp<std::int16_t>(rounded, 0, 255));
}

constexpr std::int32_t blockBytes = 16;

/// Of a length that is known and apart from all other memory: that runs on vectors.
void unblendBlock(std::uint8_t* seen, const std::uint8_t* laid, std::int16_t factor) {
  std::array<std::uint8_t, blockBytes> above{};
  std::array<std::uint8_t, blockBytes> block{};
  std::copy_n(laid, blockBytes, above.begin());
  std::copy_n(seen, blockBytes, block.begin());
  for (std::size_t i = 0; i < block.size(); ++i) block[i] = beneath(block[i], above[i], factor);
  std::copy_n(block.begin(), blockBytes, seen);
}

}  // namespace

void unblend(const Pixels& pixels, const CoveredRun& run) {
  const auto factor = factorOf(run.alpha);
  auto* const seen = pixels.at(run.x, run.y);
  const auto* const laid = reinterpret_cast<const std::uint8_t*>(run.laid);
  // The byte that says nothing is taken along.
  const std::int32_t bytes = run.width * 4;
  std::int32_t i = 0;
  for (; i + blockBytes <= bytes; i += blockBytes) unblendBlock(seen + i, laid + i, factor);
  for (; i < bytes; ++i) seen[i] = beneath(seen[i], laid[i], factor);
}

bool canBeBlended(const Pixels& pixels, const CoveredRun& run, std::int32_t index) {
  // Of the laid colour, of the product and of their sum, each of which may be rounded.
  constexpr int tolerance = 2;
  const int most = 255 - run.alpha + tolerance;
  const auto* const seen = pixels.at(run.x + index, run.y);
  for (int channel = 0; channel < 3; ++channel) {
    const auto laid = static_cast<int>(run.laid[index] >> (8 * channel) & 0xffU);
    const int left = seen[channel] - laid;
    if (left < -tolerance || left > most) return false;
  }
  return true;
}

}  // namespace vesk::wayland::beneath
