#include "platform/linux/x11/beneath/bareColour.h"

#include <gtest/gtest.h>

#include <cstring>

#include "support/Patience.h"
#include "support/XPainter.h"
#include "support/XServer.h"

namespace vesk::x11::beneath::VESK_FILE {
namespace {

using testing::DisplayVariable;
using testing::XServer;

TEST(BareColourTest, IsThatOfTheNearestPlaceWhereNothingLies) {
  const XServer server("320x240x24");
  const DisplayVariable display(server.display());
  const server::Connection connection;
  testing::XPainter painter;
  const PixelRect left{0, 0, 100, 240};
  const PixelRect right{200, 0, 120, 240};
  painter.fill(0, 0, 320, 240, 0x405060);
  painter.fill(90, 0, 10, 100, 0xff0000);
  painter.fill(200, 110, 1, 5, 0x00ff00);
  const auto near = [&](const PixelRect& part, const std::vector<PixelRect>& bare) {
    return bareColour(connection, part, bare) & 0xffffff;
  };
  // Drawn last, so that the rest is there too.
  EXPECT_TRUE(testing::waitUntil([&] {
    return near({180, 102, 20, 20}, {left, right}) == 0x00ff00;
  }));
  EXPECT_EQ(near({105, 50, 20, 20}, {left, right}), 0xff0000U);
  EXPECT_EQ(near({105, 50, 20, 20}, {right, left}), 0xff0000U) << "whatever their order";
  EXPECT_EQ(near({105, 150, 20, 20}, {left, right}), 0x405060U);
  EXPECT_EQ(near({40, 40, 20, 20}, {left, right}), 0x405060U) << "within a piece";
  EXPECT_EQ(bareColour(connection, left, {}), 0U) << "no such place";
}

TEST(BareColourTest, IsThatOfAPicture) {
  const XServer server("320x240x24");
  const DisplayVariable display(server.display());
  const server::Connection connection;
  const PixelRect monitor{100, 50, 20, 10};
  server::SharedPixels picture(connection, 20 * 10 * 4);
  ASSERT_TRUE(picture);
  for (std::uint32_t i = 0; i < 20 * 10; ++i) std::memcpy(picture.data() + i * 4, &i, sizeof i);
  const PixelRect part{108, 54, 4, 4};
  const std::vector<PixelRect> bare{{100, 50, 5, 10}, {114, 50, 6, 10}};
  EXPECT_EQ(bareColour(picture, monitor, part, bare), 20U * 6 + 14);
  EXPECT_EQ(bareColour(picture, monitor, part, {bare.front()}), 20U * 6 + 4);
  EXPECT_EQ(bareColour(picture, monitor, part, {}), 0U) << "no such place";
}

}  // namespace
}  // namespace vesk::x11::beneath::VESK_FILE
