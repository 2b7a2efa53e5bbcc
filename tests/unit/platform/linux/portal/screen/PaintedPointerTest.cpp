#include "platform/linux/portal/screen/PaintedPointer.h"

#include <gtest/gtest.h>

#include <utility>
#include <vector>

namespace vesk::portal::screen::VESK_FILE {
namespace {

constexpr std::int32_t width = 8;
constexpr std::int32_t height = 6;
constexpr std::uint32_t background = 0x00806040;

class PaintedPointerTest : public ::testing::Test {
 protected:
  /// All of the picture with the pointer.
  std::vector<std::uint32_t> painted() {
    std::vector<std::uint32_t> canvas(width * height, background);
    pointer.paint({reinterpret_cast<std::uint8_t*>(canvas.data()), width * 4, width, height});
    return canvas;
  }

  static std::vector<std::uint32_t> with(
      std::initializer_list<std::pair<int, std::uint32_t>> pixels) {
    std::vector<std::uint32_t> canvas(width * height, background);
    for (const auto& [at, pixel] : pixels) canvas[static_cast<std::size_t>(at)] = pixel;
    return canvas;
  }

  static PointerNews at(std::int32_t x, std::int32_t y) { return {true, x, y, std::nullopt}; }

  /// Two pixels beside each other, of which the second is where it is.
  static PointerNews arrow(std::int32_t x, std::int32_t y) {
    return {true, x, y, PointerShape{2, 1, 1, 0, {0xff112233, 0xff445566}}};
  }

  PaintedPointer pointer;
};

TEST_F(PaintedPointerTest, IsNotToBeSeenBeforeItIsKnown) {
  EXPECT_FALSE(pointer.hasChanged());
  EXPECT_EQ(painted(), with({}));
  EXPECT_TRUE(pointer.painted().isEmpty());
  pointer.follow(at(3, 3));
  EXPECT_EQ(painted(), with({})) << "nor before it looks like anything";
}

TEST_F(PaintedPointerTest, IsPaintedWithItsHotPixelWhereItIs) {
  pointer.follow(arrow(3, 2));
  EXPECT_TRUE(pointer.hasChanged());
  EXPECT_EQ(painted(), with({{2 * width + 2, 0x112233}, {2 * width + 3, 0x445566}}));
  EXPECT_EQ(pointer.painted(), (PixelRect{2, 2, 2, 1}));
  EXPECT_FALSE(pointer.hasChanged());
}

TEST_F(PaintedPointerTest, KeepsItsShapeWhenItMoves) {
  pointer.follow(arrow(3, 2));
  painted();
  pointer.follow(at(4, 2));
  EXPECT_TRUE(pointer.hasChanged());
  EXPECT_EQ(painted(), with({{2 * width + 3, 0x112233}, {2 * width + 4, 0x445566}}));
}

TEST_F(PaintedPointerTest, HasNotChangedWhereTheSameIsSaidAgain) {
  pointer.follow(arrow(3, 2));
  painted();
  pointer.follow(at(3, 2));
  pointer.follow(arrow(3, 2));
  EXPECT_FALSE(pointer.hasChanged());
}

TEST_F(PaintedPointerTest, IsGoneWhereItIsElsewhereOrHidden) {
  pointer.follow(arrow(3, 2));
  painted();
  pointer.follow({});
  EXPECT_TRUE(pointer.hasChanged());
  EXPECT_EQ(painted(), with({}));
  EXPECT_TRUE(pointer.painted().isEmpty());
  pointer.follow({});
  EXPECT_FALSE(pointer.hasChanged());
  pointer.follow(at(3, 2));
  EXPECT_EQ(painted()[2 * width + 3], 0x445566U);
  pointer.follow({true, 3, 2, PointerShape{}});
  EXPECT_TRUE(pointer.hasChanged());
  EXPECT_EQ(painted(), with({}));
}

TEST_F(PaintedPointerTest, IsCutOffAtTheEdges) {
  pointer.follow(arrow(0, 0));
  EXPECT_EQ(painted(), with({{0, 0x445566}}));
  EXPECT_EQ(pointer.painted(), (PixelRect{0, 0, 1, 1}));
  pointer.follow(at(width, height - 1));
  EXPECT_EQ(painted(), with({{width * height - 1, 0x112233}}));
}

TEST_F(PaintedPointerTest, IsNotToBeSeenBesideThePicture) {
  pointer.follow(arrow(0, 0));
  for (const auto& [x, y] : {std::pair{-1, 0},
                             {0, -1},
                             {width + 1, 0},
                             {0, height},
                             {-(1 << 20), 0},
                             {1 << 20, 1 << 20}}) {
    pointer.follow(at(x, y));
    EXPECT_EQ(painted(), with({})) << x << "," << y;
    EXPECT_TRUE(pointer.painted().isEmpty());
  }
}

TEST_F(PaintedPointerTest, IsLaidOverByItsAlpha) {
  pointer.follow({true, 0, 0, PointerShape{3, 1, 0, 0, {0x80402010, 0x00000000, 0x40ffffff}}});
  // 0x40 + 0x80 * 127 / 255, and so on; what claims more light than there can be is white.
  EXPECT_EQ(painted(), with({{0, 0x00805030}, {1, background}, {2, 0x00ffffff}}));
}

TEST_F(PaintedPointerTest, MayBeLargerThanThePicture) {
  pointer.follow({true, 5, 5, PointerShape{100, 100, 50, 50, std::vector(10'000, 0xff010203U)}});
  EXPECT_EQ(painted(), std::vector<std::uint32_t>(width * height, 0x00010203));
  EXPECT_EQ(pointer.painted(), (PixelRect{0, 0, width, height}));
}

}  // namespace
}  // namespace vesk::portal::screen::VESK_FILE
