#include <algorithm>
#include <cstdlib>

#include "platform/linux/portal/input/PortalEventPoster.h"
#include "platform/linux/wayland/beneath/PictureBeneath.h"
#include "support/KWin.h"
#include "support/OverlayFixture.h"
#include "support/WlWindow.h"
#include "unit/platform/linux/portal/session/HeardSession.h"

namespace vesk::wayland::overlay::VESK_FILE {
namespace {

constexpr std::uint32_t windowColour = 0xff204060;

int partOf(std::uint32_t pixel, int shift) { return static_cast<int>(pixel >> shift & 0xffU); }

bool isReddish(std::uint32_t pixel) {
  return partOf(pixel, 16) > partOf(pixel, 8) + 60 && partOf(pixel, 16) > partOf(pixel, 0) + 60;
}

/// How far the pixel that differs most is from the window's colour.
int worst(const QImage& picture) {
  int most = 0;
  for (int y = 0; y < picture.height(); ++y) {
    for (int x = 0; x < picture.width(); ++x) {
      for (const int shift : {0, 8, 16}) {
        const int part = partOf(picture.pixel(x, y), shift);
        most = std::max(most, std::abs(part - partOf(windowColour, shift)));
      }
    }
  }
  return most;
}

class OverlaysOnKWinTest : public testing::OverlayFixtureOn<testing::KWin> {
 protected:
  static constexpr Rect wholeScreen{{0, 0}, 1280, 800};

  testing::WlWindow window_;
};

TEST_F(OverlaysOnKWinTest, AreAboveAFullScreenWindowAndCanBeTakenOutOfThePicture) {
  ASSERT_EQ(compositor_.picture().pixel(640, 400), windowColour);
  auto line = show(border(wholeScreen));
  auto tab = show(strip(wholeScreen));
  EXPECT_TRUE(own_.shown().isCertain);
  QImage picture = compositor_.picture();
  for (const auto& place : {QPoint(2, 400), QPoint(1277, 400), QPoint(640, 798), QPoint(400, 13)})
    EXPECT_TRUE(isReddish(picture.pixel(place))) << place.x() << ", " << place.y();
  EXPECT_EQ(picture.pixel(640, 400), windowColour);

  beneath::PictureBeneath beneath(surfaces().front().output);
  std::vector<picture::PixelRect> changed;
  beneath.uncover({picture.bits(), picture.bytesPerLine(), picture.width(), picture.height()},
                  own_.shown(), changed);
  // What is beneath the strip has a tenth of a share in what is seen, to within half a step.
  EXPECT_LE(worst(picture), 5);

  line.reset();
  tab.reset();
  EXPECT_EQ(worst(compositor_.picture()), 0);
}

TEST_F(OverlaysOnKWinTest, LetClicksAndKeysThroughToWhatIsBeneath) {
  portal::session::HeardSession hand;
  const stream::WatchedDisplay watched;
  portal::input::PortalEventPoster poster(hand.gate, hand.strokes, watched);
  hand.startSession();
  ASSERT_TRUE(hand.waitFor([&] { return !hand.grants.empty(); }));
  const auto line = show(border(wholeScreen, 0.8, 20));
  const auto tab = show(strip(wholeScreen));
  for (const Point& place : {Point{640, 12}, Point{5, 500}, Point{1275, 500}, Point{500, 795}}) {
    poster.post(MouseEvent{.type = EventType::leftMouseDown, .point = place});
    poster.post(MouseEvent{.type = EventType::leftMouseUp, .point = place});
    poster.post(KeyboardEvent{.keyCode = 0, .down = true, .type = EventType::keyDown, .flags = 0});
    poster.post(KeyboardEvent{.keyCode = 0, .down = false, .type = EventType::keyUp, .flags = 0});
    EXPECT_TRUE(window_.waitFor([&](const testing::WlSeen& seen) {
      return seen.pointer == place && seen.count("button 272 up") == 1 && seen.text == "a";
    })) << place.x
        << ", " << place.y;
    window_.forget();
  }
}

struct TwoSharpOutputs : testing::KWin {
  TwoSharpOutputs() : KWin({.screen = {640, 400}, .outputs = 2, .scale = 2, .hasPortal = false}) {}
};

class OverlaysOnTwoOutputsTest : public testing::OverlayFixtureOn<TwoSharpOutputs> {};

TEST_F(OverlaysOnTwoOutputsTest, AreOnTheirOwnAtItsScale) {
  const auto screens = overlays_.screens();
  ASSERT_EQ(screens.size(), 2U);
  const auto& second = screens.back().frame;
  EXPECT_EQ(screens.front().frame, (Rect{{0, 0}, 640, 400}));
  EXPECT_EQ(second, (Rect{{640, 0}, 640, 400}));
  const auto line = show(border(second));
  const auto tab = show(strip(second));
  const QImage picture = compositor_.picture();
  ASSERT_EQ(picture.size(), QSize(2560, 800));
  // Four points are eight pixels.
  for (const int x : {1280, 1287, 2552, 2559}) EXPECT_TRUE(isReddish(picture.pixel(x, 400))) << x;
  for (const int x : {1279, 1288, 2551}) EXPECT_FALSE(isReddish(picture.pixel(x, 400))) << x;
  EXPECT_TRUE(isReddish(picture.pixel(1400, 40))) << "the strip";
  EXPECT_FALSE(isReddish(picture.pixel(1400, 60)));
  for (int x = 0; x < 1280; ++x) ASSERT_FALSE(isReddish(picture.pixel(x, 10))) << x;
}

}  // namespace
}  // namespace vesk::wayland::overlay::VESK_FILE
