#include "platform/linux/wayland/server/WlDisplays.h"

#include <gtest/gtest.h>

#include "platform/linux/wayland/server/offersDesktop.h"
#include "support/Patience.h"
#include "support/Sway.h"

namespace vesk::wayland::server::VESK_FILE {
namespace {

class WlDisplaysTest : public ::testing::Test {
 protected:
  WlDisplaysTest() { sway.enter(); }

  testing::Sway sway;
};

TEST_F(WlDisplaysTest, TellsOfTheOutputAsItIs) {
  WlDisplays displays;
  const auto main = displays.mainDisplay();
  ASSERT_NE(main, 0U);
  EXPECT_EQ(displays.bounds(main), (Rect{{0, 0}, 1920, 1080}));
  EXPECT_EQ(displays.pixels(main), (PixelSize{1920, 1080}));
  EXPECT_EQ(displays.modePixels(main), (PixelSize{1920, 1080}));
}

TEST_F(WlDisplaysTest, CountsPointsOnAScaledOutputAndItsPanelsPixels) {
  WlDisplays displays;
  const auto main = displays.mainDisplay();
  sway.command("output HEADLESS-1 scale 1.5");
  ASSERT_TRUE(testing::waitUntil([&] { return displays.pixels(main) == PixelSize{1280, 720}; }));
  EXPECT_EQ(displays.modePixels(main), (PixelSize{1920, 1080}));
}

TEST_F(WlDisplaysTest, TurnsThePanelsPixelsWithTheOutput) {
  WlDisplays displays;
  const auto main = displays.mainDisplay();
  sway.command("output HEADLESS-1 transform 90");
  ASSERT_TRUE(testing::waitUntil([&] { return displays.pixels(main) == PixelSize{1080, 1920}; }));
  EXPECT_EQ(displays.modePixels(main), (PixelSize{1080, 1920}));
}

TEST_F(WlDisplaysTest, TakesTheOutputAtTheOriginForTheMainOne) {
  WlDisplays displays;
  const auto first = displays.mainDisplay();
  sway.command("create_output");
  sway.command("output HEADLESS-1 position 1920 0");
  sway.command("output HEADLESS-2 mode 800x600@60Hz position 0 0");
  ASSERT_TRUE(testing::waitUntil([&] {
    return displays.bounds(displays.mainDisplay()) == Rect{{0, 0}, 800, 600};
  }));
  EXPECT_EQ(displays.bounds(first), (Rect{{1920, 0}, 1920, 1080}));
}

TEST_F(WlDisplaysTest, KnowsNothingOfADisplayThatIsNotThere) {
  WlDisplays displays;
  EXPECT_EQ(displays.bounds(12345), Rect{});
  EXPECT_EQ(displays.pixels(12345), PixelSize{});
  EXPECT_EQ(displays.modePixels(12345), std::nullopt);
}

TEST_F(WlDisplaysTest, HasNoDisplayOnceTheCompositorIsGone) {
  WlDisplays displays;
  sway.kill();
  EXPECT_TRUE(testing::waitUntil([&] { return displays.mainDisplay() == 0; }));
}

/// The end shows when reading, whatever was still to be sent.
TEST_F(WlDisplaysTest, SeesTheEndOfACompositorThatItHasSomethingToAsk) {
  Connection connection;
  ASSERT_TRUE(connection);
  sway.kill();
  const Proxy<wl_registry> registry(wl_display_get_registry(connection.get()));
  EXPECT_TRUE(testing::waitUntil([&] { return !connection.dispatch(); }));
  EXPECT_FALSE(connection);
}

TEST_F(WlDisplaysTest, FindsAllThatASessionNeeds) { EXPECT_TRUE(offersDesktop(Connection())); }

TEST(OffersDesktopTest, AsksOnlyACompositorThatIsNamed) {
  const testing::Sway sway;
  sway.enter();
  ::setenv("WAYLAND_DISPLAY", "", 1);
  EXPECT_FALSE(offersDesktop(Connection()));
}

}  // namespace
}  // namespace vesk::wayland::server::VESK_FILE
