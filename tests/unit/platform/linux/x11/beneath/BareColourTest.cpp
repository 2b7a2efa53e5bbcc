#include "platform/linux/x11/beneath/bareColour.h"

#include <gtest/gtest.h>

#include "support/Patience.h"
#include "support/XPainter.h"
#include "support/XServer.h"

namespace vesk::x11::beneath {
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

}  // namespace
}  // namespace vesk::x11::beneath
