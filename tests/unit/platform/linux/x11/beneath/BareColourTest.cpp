#include "platform/linux/x11/beneath/bareColour.h"

#include <gtest/gtest.h>

#include "support/Patience.h"
#include "support/XPainter.h"
#include "support/XServer.h"

namespace vesk::x11::beneath {
namespace {

using testing::DisplayVariable;
using testing::XServer;

TEST(BareColourTest, IsThatOfAPlaceWhereNothingLies) {
  const XServer server("320x240x24");
  const DisplayVariable display(server.display());
  const server::Connection connection;
  testing::XPainter painter;
  const PixelRect area{0, 0, 320, 240};
  painter.fill(0, 0, 320, 240, 0x405060);
  painter.fill(0, 0, 320, 200, 0xff0000);
  const auto seen = [&](const std::vector<PixelRect>& covers) {
    return bareColour(connection, area, covers) & 0xffffff;
  };
  EXPECT_TRUE(testing::waitUntil([&] { return seen({{0, 0, 320, 200}}) == 0x405060; }));
  EXPECT_EQ(seen({{0, 0, 300, 200}, {200, 0, 120, 210}}), 0x405060U) << "two windows";
  EXPECT_EQ(seen({{0, 100, 320, 140}}), 0xff0000U);
  EXPECT_EQ(bareColour(connection, area, {area}), 0U) << "no such place";
}

}  // namespace
}  // namespace vesk::x11::beneath
