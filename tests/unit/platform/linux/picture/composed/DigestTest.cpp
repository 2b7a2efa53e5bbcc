#include "platform/linux/picture/composed/Digest.h"

#include <gtest/gtest.h>

#include "support/PaintedImages.h"

namespace vesk::picture::composed::VESK_FILE {
namespace {

TEST(DigestTest, TellsEveryPixelOfItsRectangleAndNoOther) {
  testing::PaintedImages screen({64, 32});
  screen.noise(0, 0, 64, 32);
  const auto image = screen.image();
  const auto digest = [](const Nv12Image& of) { return Digest(of.planes().from(2, 4), 60, 20, 7); };
  const auto changed = [&](bool colour, int x, int y) {
    Nv12Image copy({64, 32});
    std::copy_n(image->luma(), std::size_t{64} * 48, copy.luma());
    EXPECT_EQ(image->stride(), 64);
    *(colour ? copy.planes().chromaAt(x / 2 * 2, y) + x % 2 : copy.planes().lumaAt(x, y)) ^= 1;
    return digest(copy) != digest(*image);
  };
  for (int y = 0; y < 32; ++y) {
    for (int x = 0; x < 64; ++x) {
      const bool inside = x >= 2 && x < 62 && y >= 4 && y < 24;
      EXPECT_EQ(changed(false, x, y), inside) << x << ", " << y;
      if (y % 2 != 0) continue;
      EXPECT_EQ(changed(true, x, y), inside) << "colour at " << x << ", " << y;
    }
  }
}

TEST(DigestTest, DependsOnItsSeed) {
  testing::PaintedImages screen({64, 32});
  const PlanesView pixels = screen.image()->planes();
  EXPECT_EQ(Digest(pixels, 64, 32, 1), Digest(pixels, 64, 32, 1));
  EXPECT_NE(Digest(pixels, 64, 32, 1), Digest(pixels, 64, 32, 2));
  EXPECT_NE(Digest(pixels, 64, 32, 1), Digest());
}

}  // namespace
}  // namespace vesk::picture::composed::VESK_FILE
