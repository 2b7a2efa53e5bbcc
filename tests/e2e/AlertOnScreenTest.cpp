#include <algorithm>

#include "e2e/PresenceFixture.h"

namespace vesk::testing::VESK_FILE {
namespace {

using AlertOnScreenTest = PresenceTest;

INSTANTIATE_TEST_SUITE_P(On, AlertOnScreenTest, ::testing::ValuesIn(everyDesktop), nameOfDesktop);

TEST_P(AlertOnScreenTest, AnswersByKeys) {
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

TEST_P(AlertOnScreenTest, AnswersByClicks) {
  const Point allow = allowIn(placeOf(ask("Ada")));
  desktop_.click(allow.x, allow.y);
  EXPECT_EQ(program_.line(), "allowed");
  const Point dontAllow = dontAllowIn(placeOf(ask("Ada")));
  desktop_.click(dontAllow.x, dontAllow.y);
  EXPECT_EQ(program_.line(), "denied");
}

TEST_P(AlertOnScreenTest, TakesNoKeyThatWasMeantForAnotherProgram) {
  program_.send("ask Ada");
  const xcb_window_t alert = desktop_.alert();
  ASSERT_TRUE(waitUntil([&] { return desktop_.focus() == alert; }));
  desktop_.key(returnKey);
  EXPECT_EQ(program_.line(300), std::nullopt);
  EXPECT_TRUE(desktop_.isShown(alert));
  untilActsCount(alert);
  desktop_.key(escapeKey);
  EXPECT_EQ(program_.line(), "denied");
}

TEST_P(AlertOnScreenTest, HoldsBackTheMainQueueUntilAnswered) {
  ask("Ada");
  program_.send("ping");
  EXPECT_EQ(program_.line(300), std::nullopt);
  desktop_.key(escapeKey);
  EXPECT_EQ(program_.line(), "denied");
  EXPECT_EQ(program_.line(), "pong");
}

TEST_P(AlertOnScreenTest, ShowsTheAlertWithButtonsOnTheScreenWhateverTheName) {
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

TEST_P(AlertOnScreenTest, IsDeniedByItsCloseButton) {
  const xcb_window_t alert = ask("Ada");
  if (GetParam() == Kind::bare) {
    desktop_.tellWindow(alert, "WM_DELETE_WINDOW");
  } else {
    desktop_.tellRoot(alert, "_NET_CLOSE_WINDOW", {0, 2, 0, 0, 0});
  }
  EXPECT_EQ(program_.line(), "denied");
  EXPECT_TRUE(waitUntil([&] { return !desktop_.isShown(alert); }));
}

TEST_P(AlertOnScreenTest, IsAboveTheOthersOnEveryWorkspaceAndInNoList) {
  const xcb_window_t alert = ask("Ada");
  const auto has = [&](const std::string& state) {
    return waitUntil([&] {
      return std::ranges::count(desktop_.property(alert, "_NET_WM_STATE"), desktop_.atomOf(state)) >
             0;
    });
  };
  EXPECT_TRUE(has("_NET_WM_STATE_ABOVE"));
  // Mutter lists every dialog that has no parent.
  if (GetParam() != Kind::mutter) {
    EXPECT_TRUE(has("_NET_WM_STATE_SKIP_TASKBAR"));
    EXPECT_TRUE(has("_NET_WM_STATE_SKIP_PAGER"));
  }
  // Window managers keep the first, the second or both.
  constexpr std::uint32_t all = 0xffffffff;
  EXPECT_TRUE(desktop_.property(alert, "_NET_WM_DESKTOP") == std::vector{all} ||
              has("_NET_WM_STATE_STICKY"));
  if (GetParam() != Kind::bare) {
    desktop_.goToWorkspace(1);
    const Place place = placeOf(alert);
    EXPECT_TRUE(waitUntil([&] { return desktop_.isShown(alert); }));
    EXPECT_TRUE(waitUntil([&] {
      return desktop_.topLevelAt(place.x + 5, place.y + 5) == desktop_.topLevelOf(alert);
    }));
  }
  desktop_.key(escapeKey);
  // A window manager may give the focus to nobody on another workspace.
  if (const auto answer = program_.line(2000)) {
    EXPECT_EQ(answer, "denied");
  } else {
    desktop_.tellWindow(alert, "WM_DELETE_WINDOW");
    EXPECT_EQ(program_.line(), "denied");
  }
}

TEST_P(AlertOnScreenTest, ComesUpOnTheWorkspaceThatThePersonWentTo) {
  if (GetParam() != Kind::bare) desktop_.goToWorkspace(2);
  const Place place = placeOf(ask("Ada"));
  EXPECT_NE(desktop_.topLevelAt(place.x + 5, place.y + 5), xcb_window_t{XCB_NONE});
  desktop_.key(returnKey);
  EXPECT_EQ(program_.line(), "allowed");
}

TEST_P(AlertOnScreenTest, ComesUpAboveAFullScreenWindow) {
  const xcb_window_t other = desktop_.makeWindow(0, 0, 1280, 800, backdrop, false);
  if (GetParam() != Kind::bare) desktop_.makeFullScreen(other);
  ASSERT_TRUE(desktop_.waitForPixel(100, 100, backdrop));
  const xcb_window_t alert = ask("Ada");
  const Place place = placeOf(alert);
  EXPECT_EQ(desktop_.topLevelAt(place.x + 5, place.y + 5), desktop_.topLevelOf(alert));
  EXPECT_TRUE(waitUntil([&] { return desktop_.pixel(place.x + 5, place.y + 5) != backdrop; }));
  desktop_.key(returnKey);
  EXPECT_EQ(program_.line(), "allowed");
}

/// As players and games have it: the compositor is to step aside for them.
TEST_P(AlertOnScreenTest, ComesUpAboveAFullScreenWindowThatBypassesTheCompositor) {
  const xcb_window_t other = desktop_.makeWindow(0, 0, 1280, 800, backdrop, false);
  desktop_.setNumber(other, "_NET_WM_BYPASS_COMPOSITOR", 1);
  if (GetParam() != Kind::bare) desktop_.makeFullScreen(other);
  ASSERT_TRUE(desktop_.waitForPixel(5, 5, backdrop));
  const Place place = placeOf(ask("Ada"));
  EXPECT_TRUE(waitUntil([&] { return desktop_.pixel(place.x + 5, place.y + 5) != backdrop; }));
  desktop_.key(returnKey);
  EXPECT_EQ(program_.line(), "allowed");
}

class ManagedAlertTest : public PresenceTest {};

INSTANTIATE_TEST_SUITE_P(On, ManagedAlertTest,
                         ::testing::Values(Kind::openbox, Kind::openboxPicom, Kind::xfwm4,
                                           Kind::xfwm4Compositing, Kind::mutter, Kind::kwin),
                         nameOfDesktop);

/// No task bar lists it, so nobody could bring it back.
TEST_P(ManagedAlertTest, ComesBackWhenItIsMinimised) {
  const xcb_window_t alert = ask("Ada");
  constexpr std::uint32_t iconic = 3;
  desktop_.tellRoot(alert, "WM_CHANGE_STATE", {iconic, 0, 0, 0, 0});
  desktop_.goToWorkspace(1);  // done after it, so that is done then
  EXPECT_TRUE(waitUntil([&] { return desktop_.isShown(alert); }));
  desktop_.tellWindow(alert, "WM_DELETE_WINDOW");
  EXPECT_EQ(program_.line(), "denied");
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
  EXPECT_TRUE(waitUntil([&] { return !desktop_.isShown(alert); }));
}

/// Whatever the name is made of, the alert stays an alert and its buttons answer.
TEST_F(OnOpenboxTest, KeepsItsShapeUnderANameOfAnyKind) {
  AlertObserver observer(desktop_.server().display());
  PresenceWindow program(desktop_.environment());
  const auto heightFor = [&](const std::string& name) {
    program.send("ask " + name);
    const xcb_window_t alert = desktop_.alert();
    observer.standsSince(alert, 0, 2000);
    observer.waitUntilActsCount(alert);
    const Place place = placeOf(desktop_, alert);
    EXPECT_EQ(place.width, 504) << name;
    EXPECT_LT(place.height, 260) << name;
    const Point allow = allowIn(place);
    desktop_.click(allow.x, allow.y);
    EXPECT_EQ(program.line(), "allowed") << name;
    return place.height;
  };
  const int usual = heightFor("Ada");
  EXPECT_EQ(heightFor("<h1>A</h1>"), usual);
  EXPECT_EQ(heightFor("Ada\\n\\n\\n\\n"), usual);
  EXPECT_GE(heightFor("שרה محمد"), usual);
  EXPECT_GE(heightFor("😀🎉👩‍💻"), usual);
  EXPECT_GE(heightFor(std::string(3000, 'W')), usual);
  EXPECT_GE(heightFor("\u202eAda\u202c \u2066x"), usual);
}

class ScaledAlertTest : public ::testing::TestWithParam<Scale> {
 protected:
  PresenceDesktop desktop_{Kind::openbox};
};

INSTANTIATE_TEST_SUITE_P(At, ScaledAlertTest, everyScale);

TEST_P(ScaledAlertTest, IsAsLargeAsTheDesktopsScale) {
  const double scale = GetParam().second;
  AlertObserver observer(desktop_.server().display());
  PresenceWindow program(environmentAt(GetParam(), desktop_));
  program.send("ask Ada");
  const xcb_window_t alert = desktop_.alert();
  observer.standsSince(alert, 0, 2000);
  observer.waitUntilActsCount(alert);
  const Place place = placeOf(desktop_, alert);
  EXPECT_NEAR(place.width, 504 * scale, 2);
  EXPECT_NEAR(place.height, 148 * scale, 16 * scale);
  EXPECT_GE(place.x, 0);
  EXPECT_LE(place.x + place.width, 1280);
  desktop_.click(place.x + place.width - static_cast<int>(68 * scale),
                 place.y + place.height - static_cast<int>(32 * scale));
  EXPECT_EQ(program.line(), "denied");
}

class AlertWithoutItsWindowManagerTest : public ::testing::Test {
 protected:
  PresenceDesktop desktop_{Kind::bare};
};

/// What a window manager does with a window that comes up while it starts, at worst.
TEST_F(AlertWithoutItsWindowManagerTest, AsksForItsWindowAgainWhenNobodyHeardIt) {
  auto* const c = desktop_.connection();
  const std::uint32_t redirect = XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT;
  xcb_change_window_attributes(c, desktop_.root(), XCB_CW_EVENT_MASK, &redirect);
  xcb_flush(c);
  PresenceWindow program(desktop_.environment());
  const auto nextRequest = [&] {
    xcb_window_t asked = XCB_NONE;
    waitUntil([&] {
      const x11::server::ReplyPtr<xcb_generic_event_t> event(xcb_poll_for_event(c));
      if (event == nullptr || (event->response_type & 0x7f) != XCB_MAP_REQUEST) return false;
      asked = reinterpret_cast<const xcb_map_request_event_t&>(*event).window;
      return true;
    });
    return asked;
  };
  program.send("ask Ada");
  const xcb_window_t first = nextRequest();
  ASSERT_NE(first, xcb_window_t{XCB_NONE});
  ASSERT_EQ(nextRequest(), first);
  xcb_map_window(c, first);
  xcb_flush(c);
  EXPECT_EQ(desktop_.alert(), first);
  desktop_.tellWindow(first, "WM_DELETE_WINDOW");
  EXPECT_EQ(program.line(), "denied");
}

}  // namespace
}  // namespace vesk::testing::VESK_FILE
