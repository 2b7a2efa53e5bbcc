#include <algorithm>

#include "e2e/PresenceFixture.h"

namespace vesk::testing::VESK_FILE {
namespace {

class ComposedBannerTest : public PresenceTest {
 protected:
  /// Whether all of a rectangle comes to have that colour.
  bool waitForColour(const Place& place, std::uint32_t colour) {
    return desktop_.waitForPixel(place.x, place.y, colour) && waitUntil([&] {
             const auto shown = desktop_.pixels(place.x, place.y, place.width, place.height);
             return std::ranges::count(shown, desktop_.pixel(place.x, place.y)) ==
                    std::ssize(shown);
           });
  }
};

INSTANTIATE_TEST_SUITE_P(On, ComposedBannerTest,
                         ::testing::Values(Kind::openboxPicom, Kind::xfwm4Compositing, Kind::mutter,
                                           Kind::kwin),
                         nameOfDesktop);

/// The strip begins at 360, its text in the middle of the screen; the border is 8 pixels high.
TEST_P(ComposedBannerTest, IsOfOneRedWhereStripAndBorderMeet) {
  coverTheScreen();
  ASSERT_EQ(program_.ask("show 80 80 8 Ada"), "shown");
  EXPECT_TRUE(waitForColour({300, 0, 140, 8}, redOverBackdrop));
  EXPECT_TRUE(waitForColour({360, 0, 80, 20}, redOverBackdrop));
  EXPECT_TRUE(waitForColour({880, 0, 100, 8}, redOverBackdrop));
  EXPECT_TRUE(waitForColour({301, 8, 59, 15}, backdrop));
}

TEST_P(ComposedBannerTest, HasAWholeBorderWithoutTheStrip) {
  coverTheScreen();
  ASSERT_EQ(program_.ask("show 80 80 8 Ada"), "shown");
  ASSERT_TRUE(waitForColour({300, 0, 140, 8}, redOverBackdrop));
  ASSERT_EQ(program_.ask("show 0 80 8 Ada"), "shown");
  // As far as no window has another one's shadow.
  EXPECT_TRUE(waitForColour({300, 0, 300, 8}, redOverBackdrop));
  EXPECT_TRUE(waitForColour({360, 8, 240, 18}, backdrop));
}

/// However faint the strip is, the border has no hole.
TEST_P(ComposedBannerTest, HasAWholeBorderBeneathAFainterStrip) {
  coverTheScreen();
  ASSERT_EQ(program_.ask("show 1 100 40 Ada"), "shown");
  EXPECT_TRUE(waitForColour({300, 0, 60, 26}, red));
  EXPECT_TRUE(waitForColour({366, 0, 74, 20}, red));
  EXPECT_TRUE(waitForColour({366, 26, 74, 14}, red));
}

/// What can only be there or not there is in its full colour where it is there.
TEST_F(OnOpenboxTest, HasNoRimAroundTheStripsCornersWithoutACompositor) {
  PresenceWindow program(desktop_.environment());
  desktop_.makeWindow(0, 0, 1280, 800, backdrop, true);
  ASSERT_EQ(program.ask("show 100 100 8 Ada"), "shown");
  ASSERT_TRUE(desktop_.waitForPixel(370, 15, red));
  for (const int left : {360, 912}) {
    const auto corner = desktop_.pixels(left, 18, 8, 8);
    EXPECT_EQ(std::ranges::count(corner, red) + std::ranges::count(corner, backdrop),
              std::ssize(corner));
    EXPECT_GT(std::ranges::count(corner, backdrop), 4);
  }
}

/// What no compositor blends has no hole either, which would be black.
TEST_F(OnOpenboxTest, HasAWholeBorderBehindTheStripsCornersWithoutACompositor) {
  PresenceWindow program(desktop_.environment());
  desktop_.makeWindow(0, 0, 1280, 800, backdrop, true);
  ASSERT_EQ(program.ask("show 100 100 40 Ada"), "shown");
  ASSERT_TRUE(desktop_.waitForPixel(340, 35, red));
  for (const int left : {360, 912}) {
    const auto corner = desktop_.pixels(left, 18, 8, 8);
    EXPECT_EQ(std::ranges::count(corner, red), std::ssize(corner));
  }
}

}  // namespace
}  // namespace vesk::testing::VESK_FILE
