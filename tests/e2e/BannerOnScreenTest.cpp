#include <algorithm>

#include "e2e/PresenceFixture.h"

namespace vesk::testing::VESK_FILE {
namespace {

using BannerOnScreenTest = PresenceTest;

INSTANTIATE_TEST_SUITE_P(On, BannerOnScreenTest, ::testing::ValuesIn(everyDesktop), nameOfDesktop);

TEST_P(BannerOnScreenTest, DrawsStripAndBorderWhereTheyBelong) {
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
  EXPECT_TRUE(waitUntil([&] {
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

TEST_P(BannerOnScreenTest, LetsClicksAndScrollingThrough) {
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

TEST_P(BannerOnScreenTest, StaysAboveWhatIsMappedLater) {
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

TEST_P(BannerOnScreenTest, IsNotHiddenByAWindowForWhichACompositorStepsAside) {
  coverTheScreen();
  ASSERT_EQ(program_.ask("show 100 80 8 Ada"), "shown");
  const std::uint32_t edge = desktop_.composited() ? redOverBackdrop : red;
  ASSERT_TRUE(desktop_.waitForPixel(3, 400, edge));
  const xcb_window_t whole = desktop_.makeWindow(0, 0, 1280, 800, 0x00ff00, true);
  EXPECT_TRUE(desktop_.waitForPixel(640, 400, 0x00ff00));
  EXPECT_TRUE(desktop_.waitForPixel(400, 15, red));
  EXPECT_TRUE(waitUntil([&] { return (desktop_.pixel(3, 400) >> 16U) > 0x90; }));
  desktop_.click(640, 13);
  EXPECT_TRUE(desktop_.pressArrives(whole, 1));

  // One that comes up while it is so.
  EXPECT_EQ(program_.ask("hide"), "hidden");
  EXPECT_TRUE(desktop_.waitForPixel(400, 15, 0x00ff00));
  ASSERT_EQ(program_.ask("show 100 80 8 Ada"), "shown");
  EXPECT_TRUE(desktop_.waitForPixel(400, 15, red));
  EXPECT_TRUE(waitUntil([&] { return (desktop_.pixel(3, 400) >> 16U) > 0x90; }));

  desktop_.destroyWindow(whole);
  EXPECT_TRUE(desktop_.waitForPixel(640, 400, backdrop));
  EXPECT_TRUE(desktop_.waitForPixel(3, 400, edge));
  EXPECT_TRUE(desktop_.waitForPixel(360, 25, backdrop, 16));
}

TEST_P(BannerOnScreenTest, IsNotHiddenByAPlayerThatBypassesTheCompositor) {
  ASSERT_EQ(program_.ask("show 100 100 8 Ada"), "shown");
  const xcb_window_t player = desktop_.makeWindow(0, 0, 1280, 800, backdrop, false);
  desktop_.setNumber(player, "_NET_WM_BYPASS_COMPOSITOR", 1);
  if (GetParam() != Kind::bare) desktop_.makeFullScreen(player);
  EXPECT_TRUE(desktop_.waitForPixel(640, 400, backdrop));
  EXPECT_TRUE(desktop_.waitForPixel(400, 15, red));
  EXPECT_TRUE(desktop_.waitForPixel(3, 400, red));
}

TEST_P(BannerOnScreenTest, StaysOnEveryWorkspaceAndTakesNoFocus) {
  const xcb_window_t focus = desktop_.focus();
  ASSERT_EQ(program_.ask("show 100 100 8 Ada"), "shown");
  EXPECT_TRUE(desktop_.waitForPixel(400, 15, red));
  EXPECT_EQ(desktop_.focus(), focus);
  EXPECT_TRUE(desktop_.property(desktop_.root(), "_NET_CLIENT_LIST").empty());
  if (GetParam() == Kind::bare) return;  // it knows no workspaces
  for (const std::uint32_t workspace : {1U, 2U, 0U}) {
    desktop_.goToWorkspace(workspace);
    const xcb_window_t other = desktop_.makeWindow(0, 0, 1280, 800, backdrop, false);
    EXPECT_TRUE(desktop_.waitForPixel(640, 400, backdrop));
    EXPECT_TRUE(desktop_.waitForPixel(400, 15, red));
    EXPECT_TRUE(desktop_.waitForPixel(3, 400, red));
    desktop_.destroyWindow(other);
  }
}

TEST_P(BannerOnScreenTest, IsOnTheMainDisplayWhereverThatLies) {
  coverTheScreen();
  desktop_.setMonitor("800/300x600/200+480+200");
  ASSERT_EQ(program_.ask("show 100 100 8 Ada"), "shown");
  for (const auto& [x, y] : {std::pair{480, 300},
                             {487, 400},
                             {1279, 799},
                             {1272, 400},
                             {700, 207},
                             {650, 225},
                             {1119, 210},
                             {700, 792}}) {
    EXPECT_TRUE(desktop_.waitForPixel(x, y, red)) << x << "," << y;
  }
  for (const auto& [x, y] : {std::pair{479, 300},
                             {488, 400},
                             {1271, 400},
                             {639, 220},
                             {1120, 220},
                             {700, 199},
                             {700, 226},
                             {3, 400},
                             {400, 15},
                             {100, 3},
                             {100, 797}}) {
    constexpr int ofShadows = 32;  // the windows there may cast some on each other
    EXPECT_TRUE(desktop_.waitForPixel(x, y, backdrop, ofShadows)) << x << "," << y;
  }
}

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

/// Names at which text layout could go wrong: the label keeps its margins, and is there.
TEST_F(OnOpenboxTest, KeepsANameOfAnyKindInsideTheStrip) {
  PresenceWindow program(desktop_.environment());
  desktop_.makeWindow(0, 0, 1280, 800, backdrop, true);
  ASSERT_EQ(program.ask("show 100 100 8 Ada"), "shown");
  for (const std::string& name :
       {std::string(2000, 'W'), std::string("שרה محمد"), std::string("😀🎉👩‍💻 日本"),
        std::string("<b>Ada</b>\\n\\nBo"), std::string("á̂̃̄̅")}) {
    ASSERT_EQ(program.ask("viewer " + name), "renamed");
    EXPECT_TRUE(waitUntil([&] {
      return std::ranges::count(desktop_.pixels(368, 4, 544, 18), 0xffffffU) > 10;
    })) << name;
    for (const int x : {360, 912}) {
      const auto margin = desktop_.pixels(x, 0, 8, 20);
      EXPECT_EQ(std::ranges::count(margin, red), std::ssize(margin)) << name << " at " << x;
    }
    EXPECT_TRUE(desktop_.waitForPixel(640, 26, backdrop));
  }
}

class ScaledBannerTest : public ::testing::TestWithParam<Scale> {
 protected:
  PresenceDesktop desktop_{Kind::openbox};
};

INSTANTIATE_TEST_SUITE_P(At, ScaledBannerTest, everyScale);

TEST_P(ScaledBannerTest, DrawsInPoints) {
  const double scale = GetParam().second;
  PresenceWindow program(environmentAt(GetParam(), desktop_));
  desktop_.makeWindow(0, 0, 1280, 800, backdrop, true);
  ASSERT_EQ(program.ask("show 100 100 8 Ada"), "shown");
  const int height = static_cast<int>(26 * scale);
  const int thickness = static_cast<int>(8 * scale);
  const int width = static_cast<int>(std::min(0.6 * 1280 / scale, 560.0) * scale);
  const int left = 640 - width / 2;
  EXPECT_TRUE(desktop_.waitForPixel(left + 30, height - 1, red));
  EXPECT_TRUE(desktop_.waitForPixel(left + 30, height, backdrop));
  EXPECT_TRUE(desktop_.waitForPixel(left + 1, height / 2, red));
  EXPECT_TRUE(desktop_.waitForPixel(left - 2, height - 4, backdrop));
  EXPECT_TRUE(desktop_.waitForPixel(thickness - 1, 400, red));
  EXPECT_TRUE(desktop_.waitForPixel(thickness, 400, backdrop));
  EXPECT_TRUE(desktop_.waitForPixel(100, 799 - thickness, backdrop));
  EXPECT_TRUE(desktop_.waitForPixel(100, 800 - thickness, red));
}

/// Another program that wants to be on top as much, a screen locker for one, is not chased.
TEST_F(OnOpenboxTest, RaisesItselfFourTimesASecondAtMost) {
  PresenceWindow program(desktop_.environment());
  ASSERT_EQ(program.ask("show 100 80 8 Ada"), "shown");
  const std::string list = program.ask("windows").value_or("");
  const auto strip = static_cast<xcb_window_t>(std::stoul(list.substr(list.rfind(' ') + 1)));
  auto* const c = desktop_.connection();
  const std::uint32_t mask = XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY;
  xcb_change_window_attributes(c, desktop_.root(), XCB_CW_EVENT_MASK, &mask);
  const xcb_window_t rival = desktop_.makeWindow(0, 0, 1280, 800, backdrop, true);

  const auto start = steady_clock::now();
  constexpr int raises = 7;
  for (int i = 0; i < raises; ++i) {
    const std::uint32_t onTop = XCB_STACK_MODE_ABOVE;
    xcb_configure_window(c, rival, XCB_CONFIG_WINDOW_STACK_MODE, &onTop);
    xcb_flush(c);
    ASSERT_TRUE(waitUntil([&] {
      const x11::server::ReplyPtr<xcb_generic_event_t> event(xcb_poll_for_event(c));
      return event != nullptr && event->response_type == XCB_CONFIGURE_NOTIFY &&
             reinterpret_cast<const xcb_configure_notify_event_t&>(*event).window == strip;
    }));
  }
  EXPECT_GE(steady_clock::now() - start, (raises - 1) * milliseconds(250));
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
}  // namespace vesk::testing::VESK_FILE
