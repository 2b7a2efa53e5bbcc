#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <thread>

#include "e2e/PresenceDesktop.h"

namespace vesk::testing {
namespace {

using Kind = PresenceDesktop::Kind;
using std::chrono::milliseconds;
using std::chrono::steady_clock;

constexpr std::uint32_t returnKey = 0xff0d;
constexpr std::uint32_t tabKey = 0xff09;
constexpr std::uint32_t escapeKey = 0xff1b;
constexpr std::uint32_t backdrop = 0x4a6a8a;
constexpr std::uint32_t red = 0xcc0d0d;
constexpr std::uint32_t redOverBackdrop = 0xb22026;  // four fifths of it

std::string nameOf(const ::testing::TestParamInfo<Kind>& info) {
  switch (info.param) {
    case Kind::bare:
      return "bare";
    case Kind::openbox:
      return "openbox";
    case Kind::openboxPicom:
      return "openboxPicom";
    case Kind::xfwm4:
      return "xfwm4";
    case Kind::xfwm4Compositing:
      return "xfwm4Compositing";
  }
  return "";
}

class PresenceTest : public ::testing::TestWithParam<Kind> {
 protected:
  /// The alert, once it has the focus and its keys count.
  xcb_window_t ask(const std::string& name) {
    program_.send("ask " + name);
    const xcb_window_t alert = desktop_.alert();
    EXPECT_NE(alert, xcb_window_t{XCB_NONE});
    EXPECT_TRUE(PresenceDesktop::waitUntil([&] { return desktop_.focus() == alert; }));
    // Nothing on the screen tells that the time in which keys are ignored is over.
    std::this_thread::sleep_for(milliseconds(800));
    return alert;
  }

  /// Covers the screen by a left and a right half: xfwm4 takes one override-redirect window over
  /// the whole screen out of its composition, and with it everything that lies above.
  std::array<xcb_window_t, 2> coverTheScreen() {
    return {desktop_.makeWindow(0, 0, 640, 800, backdrop, true),
            desktop_.makeWindow(640, 0, 640, 800, backdrop, true)};
  }

  struct Place {
    int x, y, width, height;
  };

  Place placeOf(xcb_window_t window) {
    auto* const c = desktop_.connection();
    const x11::ReplyPtr<xcb_get_geometry_reply_t> size(
        xcb_get_geometry_reply(c, xcb_get_geometry(c, window), nullptr));
    const x11::ReplyPtr<xcb_translate_coordinates_reply_t> origin(xcb_translate_coordinates_reply(
        c, xcb_translate_coordinates(c, window, desktop_.root(), 0, 0), nullptr));
    return {origin->dst_x, origin->dst_y, size->width, size->height};
  }

  PresenceDesktop desktop_{GetParam()};
  PresenceWindow program_{desktop_.environment()};
};

INSTANTIATE_TEST_SUITE_P(On, PresenceTest,
                         ::testing::Values(Kind::bare, Kind::openbox, Kind::openboxPicom,
                                           Kind::xfwm4, Kind::xfwm4Compositing),
                         nameOf);

TEST_P(PresenceTest, AnswersByKeys) {
  ask("Ada");
  desktop_.key(returnKey);
  EXPECT_EQ(program_.line(), "allowed");
  ask("Ada");
  desktop_.key(escapeKey);
  EXPECT_EQ(program_.line(), "denied");
  ask("Ada");
  desktop_.key(tabKey);
  desktop_.key(returnKey);
  EXPECT_EQ(program_.line(), "denied");
}

TEST_P(PresenceTest, AnswersByClicks) {
  const Place first = placeOf(ask("Ada"));
  desktop_.click(first.x + first.width - 162, first.y + first.height - 32);
  EXPECT_EQ(program_.line(), "allowed");
  const Place second = placeOf(ask("Ada"));
  desktop_.click(second.x + second.width - 68, second.y + second.height - 32);
  EXPECT_EQ(program_.line(), "denied");
}

TEST_P(PresenceTest, TakesNoKeyThatWasMeantForAnotherProgram) {
  program_.send("ask Ada");
  const xcb_window_t alert = desktop_.alert();
  ASSERT_TRUE(PresenceDesktop::waitUntil([&] { return desktop_.focus() == alert; }));
  desktop_.key(returnKey);
  EXPECT_EQ(program_.line(300), std::nullopt);
  EXPECT_TRUE(desktop_.isShown(alert));
  std::this_thread::sleep_for(milliseconds(500));
  desktop_.key(escapeKey);
  EXPECT_EQ(program_.line(), "denied");
}

TEST_P(PresenceTest, HoldsBackTheMainQueueUntilAnswered) {
  ask("Ada");
  program_.send("ping");
  EXPECT_EQ(program_.line(300), std::nullopt);
  desktop_.key(escapeKey);
  EXPECT_EQ(program_.line(), "denied");
  EXPECT_EQ(program_.line(), "pong");
}

TEST_P(PresenceTest, ShowsTheAlertWithButtonsOnTheScreenWhateverTheName) {
  std::string longName = "Ada\\nLovelace <b>x</b> ";
  for (int i = 0; i < 400; ++i) longName += "WWWWWWWWWW";
  const Place place = placeOf(ask(longName));
  EXPECT_GE(place.x, 0);
  EXPECT_GE(place.y, 0);
  EXPECT_LE(place.x + place.width, 1280);
  EXPECT_LE(place.y + place.height, 800);
  EXPECT_LT(place.height, 300);
  desktop_.key(escapeKey);
  EXPECT_EQ(program_.line(), "denied");
}

TEST_P(PresenceTest, PutsTheAlertAboveAFullScreenWindow) {
  const xcb_window_t other = desktop_.makeWindow(0, 0, 1280, 800, backdrop, false);
  if (GetParam() != Kind::bare) desktop_.makeFullScreen(other);
  ASSERT_TRUE(desktop_.waitForPixel(100, 100, backdrop));
  const Place place = placeOf(ask("Ada"));
  EXPECT_FALSE(desktop_.waitUntil(
      [&] { return desktop_.pixel(place.x + 5, place.y + 5) == backdrop; }, 200));
  desktop_.key(returnKey);
  EXPECT_EQ(program_.line(), "allowed");
}

TEST_P(PresenceTest, DrawsStripAndBorderWhereTheyBelong) {
  coverTheScreen();
  const int before = desktop_.topLevelWindows();
  ASSERT_EQ(program_.ask("show 100 80 8 Ada"), "shown");
  const std::uint32_t edge = desktop_.composited() ? redOverBackdrop : red;
  for (const auto& [x, y] :
       {std::pair{0, 0}, {100, 7}, {7, 400}, {1279, 799}, {1272, 400}, {640, 792}}) {
    EXPECT_TRUE(desktop_.waitForPixel(x, y, edge))
        << x << "," << y << " " << std::hex << desktop_.pixel(x, y);
  }
  for (const auto& [x, y] : {std::pair{100, 8},
                             {8, 400},
                             {1271, 400},
                             {640, 791},
                             {640, 400},
                             {359, 20},
                             {920, 20},
                             {640, 26}}) {
    EXPECT_TRUE(desktop_.waitForPixel(x, y, backdrop)) << x << "," << y;
  }
  for (const auto& [x, y] : {std::pair{360, 10}, {919, 10}, {370, 25}, {909, 25}, {400, 0}}) {
    EXPECT_TRUE(desktop_.waitForPixel(x, y, red)) << x << "," << y;
  }
  // The lower corners are round, the outermost pixel of each is not the strip's.
  EXPECT_TRUE(desktop_.waitForPixel(360, 25, backdrop, 16));
  EXPECT_TRUE(desktop_.waitForPixel(919, 25, backdrop, 16));
  EXPECT_TRUE(PresenceDesktop::waitUntil([&] {
    int white = 0;
    for (int x = 500; x < 780; ++x) white += desktop_.pixel(x, 13) == 0xffffff ? 1 : 0;
    return white > 10;
  })) << "the strip has no text";

  EXPECT_EQ(program_.ask("hide"), "hidden");
  EXPECT_TRUE(desktop_.waitForPixel(0, 0, backdrop));
  EXPECT_TRUE(desktop_.waitForPixel(370, 20, backdrop));
  EXPECT_EQ(desktop_.topLevelWindows(), before);
  EXPECT_EQ(program_.ask("windows"), "windows");
}

TEST_P(PresenceTest, LetsClicksAndScrollingThrough) {
  const auto [left, right] = coverTheScreen();
  ASSERT_EQ(program_.ask("show 100 80 8 Ada"), "shown");
  ASSERT_TRUE(desktop_.waitForPixel(400, 15, red));
  for (const std::uint8_t button : {std::uint8_t{1}, std::uint8_t{4}}) {
    for (const auto& [x, y] : {std::pair{640, 13}, {3, 300}, {1277, 300}, {300, 797}}) {
      desktop_.click(x, y, button);
      EXPECT_TRUE(desktop_.pressArrives(x < 640 ? left : right, button)) << x << "," << y;
    }
  }
}

TEST_P(PresenceTest, StaysAboveWhatIsMappedLater) {
  ASSERT_EQ(program_.ask("show 100 100 8 Ada"), "shown");
  ASSERT_TRUE(desktop_.waitForPixel(400, 15, red));
  coverTheScreen();
  ASSERT_TRUE(desktop_.waitForPixel(640, 400, backdrop));
  EXPECT_TRUE(desktop_.waitForPixel(400, 15, red));
  EXPECT_TRUE(desktop_.waitForPixel(3, 400, red));
  const xcb_window_t other = desktop_.makeWindow(0, 0, 1280, 800, 0x00ff00, false);
  if (GetParam() != Kind::bare) desktop_.makeFullScreen(other);
  EXPECT_TRUE(desktop_.waitForPixel(400, 15, red));
  EXPECT_TRUE(desktop_.waitForPixel(1276, 400, red));
}

class OnOpenboxTest : public ::testing::Test {
 protected:
  PresenceDesktop desktop_{Kind::openbox};
};

TEST_F(OnOpenboxTest, FollowsACompositorThatComesAndGoes) {
  PresenceWindow program(desktop_.environment());
  desktop_.makeWindow(0, 0, 1280, 800, backdrop, true);
  ASSERT_EQ(program.ask("show 80 80 8 Ada"), "shown");
  EXPECT_TRUE(desktop_.waitForPixel(370, 15, red));
  desktop_.startPicom();
  EXPECT_TRUE(desktop_.waitForPixel(370, 15, redOverBackdrop));
  EXPECT_TRUE(desktop_.waitForPixel(3, 400, redOverBackdrop));
  desktop_.stopPicom();
  EXPECT_TRUE(desktop_.waitForPixel(370, 15, red));
  EXPECT_TRUE(desktop_.waitForPixel(3, 400, red));
  EXPECT_TRUE(desktop_.waitForPixel(360, 25, backdrop));
}

TEST_F(OnOpenboxTest, GivesTheQuestionUpAfterAMinute) {
  PresenceWindow program(desktop_.environment());
  const auto start = steady_clock::now();
  program.send("ask Ada");
  const xcb_window_t alert = desktop_.alert();
  EXPECT_EQ(program.line(70'000), "denied");
  const auto taken = steady_clock::now() - start;
  EXPECT_GE(taken, milliseconds(59'900));
  EXPECT_LE(taken, milliseconds(61'500));
  EXPECT_TRUE(PresenceDesktop::waitUntil([&] { return !desktop_.isShown(alert); }));
}

TEST_F(OnOpenboxTest, DrawsLargerOnAScaledDesktop) {
  auto environment = desktop_.environment();
  environment.emplace_back("QT_SCALE_FACTOR=2");
  PresenceWindow program(environment);
  desktop_.makeWindow(0, 0, 1280, 800, backdrop, true);
  ASSERT_EQ(program.ask("show 100 100 8 Ada"), "shown");
  EXPECT_TRUE(desktop_.waitForPixel(300, 50, red));  // 640 points: 384 wide, 52 pixels high
  EXPECT_TRUE(desktop_.waitForPixel(640, 53, backdrop));
  EXPECT_TRUE(desktop_.waitForPixel(15, 400, red));
  EXPECT_TRUE(desktop_.waitForPixel(16, 400, backdrop));
}

TEST_F(OnOpenboxTest, ListsItsOwnWindowsAndDropsThem) {
  PresenceWindow program(desktop_.environment());
  ASSERT_EQ(program.ask("show 100 80 8 Ada"), "shown");
  const std::string list = program.ask("windows").value_or("");
  EXPECT_EQ(std::ranges::count(list, ' '), 5) << list;
  ASSERT_EQ(program.ask("show 0 80 8 Ada"), "shown");
  const std::string border = program.ask("windows").value_or("");
  EXPECT_EQ(std::ranges::count(border, ' '), 4) << border;
}

}  // namespace
}  // namespace vesk::testing
