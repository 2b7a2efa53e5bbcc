#include "platform/linux/x11/beneath/FrameColour.h"

#include <gtest/gtest.h>

#include <array>

#include "support/Patience.h"
#include "support/XPainter.h"
#include "support/XServer.h"

namespace vesk::x11::beneath::VESK_FILE {
namespace {

using testing::DisplayVariable;
using testing::XServer;

TEST(MostFrequentTest, IsTheValueOfMostPixels) {
  EXPECT_EQ(mostFrequent({}), 0U);
  EXPECT_EQ(mostFrequent(std::array<std::uint32_t, 1>{7}), 7U);
  EXPECT_EQ(mostFrequent(std::array<std::uint32_t, 6>{3, 9, 9, 3, 9, 0}), 9U);
  EXPECT_EQ(mostFrequent(std::array<std::uint32_t, 4>{9, 3, 9, 3}), 3U) << "the smallest of two";
}

TEST(FrameColourTest, IsTouchedWhereItIsInSight) {
  FrameColour colour;
  EXPECT_FALSE(colour.isTouchedBy({{0, 0, 1000, 1000}}));
  colour.setInSight({{10, 10, 5, 5}, {100, 0, 50, 20}});
  EXPECT_FALSE(colour.isTouchedBy({{0, 0, 10, 10}, {15, 10, 85, 20}}));
  EXPECT_TRUE(colour.isTouchedBy({{0, 0, 1, 1}, {149, 19, 1, 1}}));
}

TEST(FrameColourTest, IsTheColourOfTheLargestPieceOnTheScreen) {
  const XServer server("320x240x24");
  const DisplayVariable display(server.display());
  const server::Connection connection;
  testing::XPainter painter;
  FrameColour colour;
  EXPECT_FALSE(colour.look(connection)) << "nothing is in sight";
  EXPECT_FALSE(colour.colour());

  painter.fill(0, 0, 300, 20, 0x40ff20);
  painter.fill(10, 0, 40, 20, 0x000000);  // a title
  painter.fill(0, 20, 4, 100, 0x0000ff);
  colour.setInSight({{0, 20, 4, 100}, {0, 0, 300, 20}});
  EXPECT_TRUE(testing::waitUntil([&] {
    colour.look(connection);
    return colour.colour() == 0x40ff20;
  }));
  EXPECT_FALSE(colour.look(connection)) << "it is the same";

  painter.fill(0, 0, 300, 20, 0x808080);
  EXPECT_TRUE(testing::waitUntil([&] { return colour.look(connection); }));
  EXPECT_EQ(colour.colour(), 0x808080U);
  colour.setInSight({});
  EXPECT_FALSE(colour.look(connection)) << "what is out of sight stays as it was";
  EXPECT_EQ(colour.colour(), 0x808080U);
}

TEST(FrameColourTest, HasEightBitsOfEachColourWhateverTheScreenHas) {
  using picture::PixelLayout;
  EXPECT_EQ(inEightBits(0xff123456, PixelLayout::eightBits), 0x123456U);
  EXPECT_EQ(inEightBits(3U << 30U | 1023U << 20U | 512U << 10U | 4U, PixelLayout::tenBits),
            0xff8001U);
}

}  // namespace
}  // namespace vesk::x11::beneath::VESK_FILE
