#include "platform/linux/wayland/beneath/unblend.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <vector>

namespace vesk::wayland::beneath::VESK_FILE {
namespace {

std::uint32_t premultiplied(int alpha, const std::array<int, 3>& colour) {
  std::uint32_t pixel = static_cast<std::uint32_t>(alpha) << 24U;
  for (unsigned i = 0; i < 3; ++i)
    pixel |= static_cast<std::uint32_t>((colour[i] * alpha + 127) / 255) << (8 * i);
  return pixel;
}

/// What a compositor shows of `beneath` under that.
std::uint8_t blended(int beneath, std::uint32_t laid, unsigned channel) {
  const int alpha = static_cast<int>(laid >> 24U);
  const int own = static_cast<int>(laid >> (8 * channel) & 0xffU);
  return static_cast<std::uint8_t>(std::min((beneath * (255 - alpha) + 127) / 255 + own, 255));
}

/// Every value beneath, in every channel, under a colour of that alpha.
struct Screen {
  explicit Screen(std::uint32_t colour) : laid(width, colour), seen(width * 4) {
    for (unsigned i = 0; i < seen.size(); ++i)
      seen[i] = i % 4 == 3 ? 0 : blended(static_cast<int>(i / 4 % 256), colour, i % 4);
  }
  Pixels pixels() { return {seen.data(), static_cast<std::ptrdiff_t>(seen.size()), width, 1}; }
  CoveredRun run(int alpha) const {
    return {0, 0, width, laid.data(), static_cast<std::uint8_t>(alpha)};
  }
  int largestError() const {
    int largest = 0;
    for (unsigned i = 0; i < seen.size(); ++i) {
      if (i % 4 != 3)
        largest = std::max(largest, std::abs(seen[i] - static_cast<int>(i / 4 % 256)));
    }
    return largest;
  }

  static constexpr int width = 259;  // whole blocks and a rest
  std::vector<std::uint32_t> laid;
  std::vector<std::uint8_t> seen;
};

TEST(UnblendTest, IsExactButForTheCompositorsRounding) {
  struct Bound {
    int alpha;
    int error;
  };
  for (const auto& [alpha, error] :
       {Bound{0, 0}, {26, 1}, {128, 1}, {153, 1}, {204, 2}, {229, 5}}) {
    for (const auto& colour : {std::array{0, 0, 0}, {255, 255, 255}, {200, 90, 13}}) {
      const auto laid = premultiplied(alpha, colour);
      Screen screen(laid);
      unblend(screen.pixels(), screen.run(alpha));
      EXPECT_LE(screen.largestError(), error) << alpha << ": " << colour[0];
    }
  }
}

TEST(UnblendTest, StaysWithinAPixelWhateverIsSeen) {
  for (int seen = 0; seen < 256; ++seen) {
    std::array<std::uint8_t, 4> pixel{};
    pixel.fill(static_cast<std::uint8_t>(seen));
    const std::uint32_t laid = 0xcc808080;
    unblend({pixel.data(), 4, 1, 1}, {0, 0, 1, &laid, 0xcc});
    const int expected = std::clamp((seen - 0x80) * 5, 0, 255);
    EXPECT_NEAR(pixel[0], expected, 1) << seen;
  }
}

TEST(UnblendTest, KeepsToItsRun) {
  std::array<std::uint8_t, 4 * 12> row{};
  row.fill(200);
  const std::vector<std::uint32_t> laid(5, 0x80404040);
  unblend({row.data(), 4 * 6, 6, 2}, {1, 1, 5, laid.data(), 0x80});
  EXPECT_TRUE(std::all_of(row.begin(), row.begin() + 28, [](int value) { return value == 200; }));
  EXPECT_NE(row[28], 200);
  EXPECT_NE(row[46], 200);
}

TEST(CanBeBlendedTest, IsTrueOfAnythingThatTheBlendShows) {
  for (const int alpha : {1, 100, 204, 242}) {
    const auto laid = premultiplied(alpha, {250, 120, 3});
    Screen screen(laid);
    for (int i = 0; i < Screen::width; ++i)
      EXPECT_TRUE(canBeBlended(screen.pixels(), screen.run(alpha), i)) << alpha << ": " << i;
  }
}

TEST(CanBeBlendedTest, IsFalseOfWhatIsTooDarkOrTooBright) {
  const std::uint32_t laid = 0xcc805040;
  const CoveredRun run{0, 0, 1, &laid, 0xcc};
  const auto looksBlended = [&](std::array<std::uint8_t, 4> pixel) {
    return canBeBlended({pixel.data(), 4, 1, 1}, run, 0);
  };
  EXPECT_TRUE(looksBlended({0x40, 0x50, 0x80, 0}));
  EXPECT_TRUE(looksBlended({0x3e, 0x4e, 0x7e, 0})) << "rounded";
  EXPECT_FALSE(looksBlended({0x3d, 0x50, 0x80, 0}));
  EXPECT_FALSE(looksBlended({0x40, 0x50, 0x7d, 0}));
  EXPECT_TRUE(looksBlended({0x40 + 53, 0x50, 0x80, 0}));
  EXPECT_FALSE(looksBlended({0x40 + 54, 0x50, 0x80, 0}));
}

}  // namespace
}  // namespace vesk::wayland::beneath::VESK_FILE
