#include "platform/linux/portal/overlay/ListedOverlays.h"

#include <gtest/gtest.h>

#include <optional>
#include <utility>
#include <vector>

#include "fakes/FakeDisplays.h"
#include "fakes/RecordingOverlays.h"

namespace vesk::portal::overlay::VESK_FILE {
namespace {

using wayland::beneath::PixelRect;

/// A main display of 2560 by 1600 pixels, and a screen of the other window system in its place.
class ListedOverlaysTest : public ::testing::Test {
 protected:
  ListedOverlaysTest() {
    displays.main = 7;
    displays.modes[7] = {2560, 1600};
  }

  /// What is listed of a border around a screen.
  std::vector<PixelRect> ofBorderAround(const Rect& screen, double thickness) {
    ListedOverlays overlays(std::exchange(others, {}), displays, surfaces);
    OverlayAppearance appearance;
    appearance.frame = screen;
    appearance.border = OverlayBorder{{}, thickness};
    const auto border = overlays.makeOverlay(appearance);
    border->orderFrontRegardless();
    return listed();
  }

  std::vector<PixelRect> listed() const {
    std::vector<PixelRect> areas;
    for (const auto& surface : surfaces.shown().surfaces) {
      EXPECT_EQ(surface.output, 7U);
      areas.push_back(surface.area);
    }
    return areas;
  }

  void screenIs(const Rect& points) {
    displays.boundsOf[7] = {{0, 0}, 2560, 1600};
    others->screenList = {{66U, points}};
    others->main = others->screenList.front();
  }

  fakes::FakeDisplays displays;
  wayland::beneath::OwnSurfaces surfaces;
  std::unique_ptr<fakes::RecordingOverlays> others = std::make_unique<fakes::RecordingOverlays>();
};

TEST_F(ListedOverlaysTest, CoverPixelsOfTheDisplayWhateverThePointsOfTheirScreenAre) {
  const std::vector<PixelRect> all{
      {0, 0, 2560, 8}, {0, 1592, 2560, 8}, {0, 8, 8, 1584}, {2552, 8, 8, 1584}};
  for (const double pixelsOfAPoint : {1.0, 1.25, 2.0}) {
    others = std::make_unique<fakes::RecordingOverlays>();
    const Rect screen{{0, 0}, 2560 / pixelsOfAPoint, 1600 / pixelsOfAPoint};
    screenIs(screen);
    EXPECT_EQ(ofBorderAround(screen, 8 / pixelsOfAPoint), all) << pixelsOfAPoint;
  }
}

TEST_F(ListedOverlaysTest, AreNoLongerListedOnceTheyAreGone) {
  screenIs({{0, 0}, 1280, 800});
  EXPECT_EQ(ofBorderAround({{0, 0}, 1280, 800}, 4).size(), 4U);
  EXPECT_EQ(listed().size(), 0U);
}

TEST_F(ListedOverlaysTest, KnowTheScreenInThePlaceOfTheMainDisplay) {
  for (const double pixelsOfAPoint : {1.0, 1.25, 2.0}) {
    const Rect beside{{2560 / pixelsOfAPoint, 0}, 2560 / pixelsOfAPoint, 1600 / pixelsOfAPoint};
    others = std::make_unique<fakes::RecordingOverlays>();
    screenIs({{0, 0}, 2560 / pixelsOfAPoint, 1600 / pixelsOfAPoint});
    others->screenList.insert(others->screenList.begin(), {67U, beside});
    ListedOverlays overlays(std::move(others), displays, surfaces);
    const auto numbers = [&] {
      const auto screens = overlays.screens();
      return std::vector{screens.at(0).screenNumber, screens.at(1).screenNumber};
    };
    using Numbers = std::vector<std::optional<DisplayId>>;
    EXPECT_EQ(numbers(), (Numbers{std::nullopt, 7U}));
    displays.boundsOf[7] = {{2560, 0}, 2560, 1600};
    EXPECT_EQ(numbers(), (Numbers{7U, std::nullopt}));
    displays.boundsOf[7] = {{2560, 0}, 2560, 1440};
    EXPECT_EQ(numbers(), (Numbers{std::nullopt, std::nullopt}));
    displays.boundsOf[7] = {{2560, 100}, 2560, 1600};
    EXPECT_EQ(numbers(), (Numbers{std::nullopt, std::nullopt}));
  }
}

/// All of them may have gone between the banner's question and this one.
TEST_F(ListedOverlaysTest, CountPixelsForPointsWhereThereIsNoScreenAnyMore) {
  others->main = std::nullopt;
  EXPECT_EQ(
      ofBorderAround({{0, 0}, 100, 50}, 4),
      (std::vector<PixelRect>{{0, 0, 100, 4}, {0, 46, 100, 4}, {0, 4, 4, 42}, {96, 4, 4, 42}}));
}

TEST_F(ListedOverlaysTest, AreReckonedFromTheScreenThatTheyAreOn) {
  const Rect there{{1280, 0}, 960, 540};
  screenIs({{0, 0}, 1280, 800});
  others->screenList.insert(others->screenList.begin(), {67U, there});
  displays.boundsOf[7] = {{2560, 0}, 1920, 1080};
  displays.modes[7] = {1920, 1080};
  EXPECT_EQ(ofBorderAround(there, 4),
            (std::vector<PixelRect>{
                {0, 0, 1920, 8}, {0, 1072, 1920, 8}, {0, 8, 8, 1064}, {1912, 8, 8, 1064}}));
}

}  // namespace
}  // namespace vesk::portal::overlay::VESK_FILE
