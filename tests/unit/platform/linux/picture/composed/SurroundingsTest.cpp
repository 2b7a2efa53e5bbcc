#include "platform/linux/picture/composed/surroundings.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <vector>

#include "platform/linux/picture/Nv12Image.h"

namespace vesk::picture::composed::VESK_FILE {
namespace {

constexpr Extent extent{3, 2};
constexpr int width = extent.across * macroblockEdge;
constexpr int height = extent.down * macroblockEdge;

/// Around the border there is more, which belongs to others.
constexpr int margin = 8;
constexpr int around = borderWidth + margin;
constexpr int stride = width + 2 * around;

/// A picture with its border and what lies around that.
class Canvas {
 public:
  /// All of it noise.
  explicit Canvas(unsigned seed) {
    std::mt19937 random(seed);
    const auto next = [&] { return static_cast<std::uint8_t>(random()); };
    std::ranges::generate(luma_, next);
    std::ranges::generate(chroma_, next);
  }

  Planes planes() {
    return {&luma_[around * stride + around], &chroma_[around / 2 * stride + around], stride,
            stride};
  }

  /// Calls with each sample's place and value, its place for both planes in pixels of the luma.
  template <typename Function>
  void forEach(Function function) const {
    for (int y = -around; y < height + around; ++y) {
      for (int x = -around; x < width + around; ++x) function(false, x, y, at(false, x, y));
    }
    for (int y = -around; y < height + around; y += 2) {
      for (int x = -around; x < width + around; ++x) function(true, x, y, at(true, x, y));
    }
  }

  std::uint8_t at(bool chroma, int x, int y) const {
    const int row = chroma ? (y + around) / 2 : y + around;
    return (chroma ? chroma_ : luma_)[static_cast<std::size_t>(row * stride + x + around)];
  }

 private:
  std::vector<std::uint8_t> luma_ = std::vector<std::uint8_t>(stride * (height + 2 * around));
  std::vector<std::uint8_t> chroma_ = std::vector<std::uint8_t>(stride * (height / 2 + around));
};

bool isWithin(int x, int y, int border) {
  return x >= -border && x < width + border && y >= -border && y < height + border;
}

TEST(CopyMacroblocksTest, CopiesThemWithTheirBorderAndNothingElse) {
  for (const int border : {0, 2, borderWidth}) {
    Canvas from(1);
    Canvas to(2);
    const Canvas before = to;
    copyMacroblocks(from.planes().view(), to.planes(), extent, border);
    to.forEach([&](bool chroma, int x, int y, std::uint8_t value) {
      const Canvas& wanted = isWithin(x, y, border) ? from : before;
      ASSERT_EQ(value, wanted.at(chroma, x, y)) << x << ", " << y << " with " << border;
    });
  }
}

TEST(RestoreBorderTest, RepeatsThePixelsAtTheEdgeAndTouchesNothingElse) {
  Canvas picture(3);
  const Canvas before = picture;
  restoreBorder(picture.planes(), extent);
  picture.forEach([&](bool chroma, int x, int y, std::uint8_t value) {
    // Chroma lies in pairs, of which the one at the edge is repeated.
    const int unit = chroma ? 2 : 1;
    const int within = (x + around) % unit;
    const int nearestX = std::clamp(x - within, 0, width - unit) + within;
    const int nearestY = std::clamp(y, 0, height - unit);
    const bool isOurs = isWithin(x, y, borderWidth);
    ASSERT_EQ(value, before.at(chroma, isOurs ? nearestX : x, isOurs ? nearestY : y))
        << x << ", " << y;
  });
}

}  // namespace
}  // namespace vesk::picture::composed::VESK_FILE
