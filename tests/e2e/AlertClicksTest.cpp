#include <gtest/gtest.h>

#include <functional>

#include "e2e/PresenceFixture.h"

namespace vesk::testing::VESK_FILE {
namespace {

/// Which clicks answer the alert.
class AlertClicksTest : public PresenceTest {
 protected:
  /// The alert as it has just come up, the pointer over "Allow".
  xcb_window_t comesUp() {
    program_.send("ask Ada");
    const xcb_window_t alert = desktop_.alert();
    // On a machine with much else to do the moment may have been missed; this makes another one.
    constexpr int longEnough = 400;
    if (observer_.standsSince(alert, 0, longEnough) == 0) move(alert, 1);
    observer_.standsSince(alert);
    pointAtAllow(alert);
    return alert;
  }

  /// An alert that had stood for long and has just been moved.
  xcb_window_t comesToAnotherPlace() {
    const xcb_window_t alert = ask("Ada");
    const std::uint32_t before = observer_.now();
    const Place old = placeOf(alert);
    move(alert, 150);
    observer_.standsSince(alert, before - 1);
    EXPECT_NE(placeOf(alert).x, old.x);
    pointAtAllow(alert);
    return alert;
  }

  void move(xcb_window_t alert, int distance) {
    const Place old = placeOf(alert);
    const std::array<std::uint32_t, 2> place{static_cast<std::uint32_t>(old.x - distance),
                                             static_cast<std::uint32_t>(old.y - distance)};
    xcb_configure_window(desktop_.connection(), alert, XCB_CONFIG_WINDOW_X | XCB_CONFIG_WINDOW_Y,
                         place.data());
    xcb_flush(desktop_.connection());
  }

  void pointAtAllow(xcb_window_t alert) {
    const Point allow = allowIn(placeOf(alert));
    desktop_.movePointer(allow.x, allow.y);
  }

  /// Press or release of the button when the alert has stood for so long. Whether that was done
  /// within its first half second.
  bool buttonWhenItHasStoodFor(xcb_window_t alert, std::uint8_t event, std::uint32_t time) {
    const std::uint32_t stood = observer_.now() - observer_.standsSince(alert);
    desktop_.button(event, time > stood ? time - stood : 0);
    desktop_.focus();  // an answer: it has been done
    return observer_.now() - observer_.standsSince(alert) < 500;
  }

  bool clickWhenItHasStoodFor(xcb_window_t alert, std::uint32_t time) {
    buttonWhenItHasStoodFor(alert, XCB_BUTTON_PRESS, time);
    return buttonWhenItHasStoodFor(alert, XCB_BUTTON_RELEASE, time);
  }

  /// `stand` brings an alert up, `act` does something early, and tells whether it was early: a
  /// machine with much else to do may have been late, which proves nothing, and the alert may be
  /// answered.
  void expectNoAnswer(const std::function<xcb_window_t()>& stand,
                      const std::function<bool(xcb_window_t)>& act) {
    xcb_window_t alert = stand();
    while (!act(alert)) {
      desktop_.tellWindow(alert, "WM_DELETE_WINDOW");
      ASSERT_NE(program_.line(), std::nullopt);
      alert = stand();
    }
    observer_.waitUntilActsCount(alert);
    EXPECT_TRUE(desktop_.isShown(alert));
    pointAtAllow(alert);
    clickWhenItHasStoodFor(alert, 600);
    EXPECT_EQ(program_.line(), "allowed");
  }

  void expectEarlyClicksToBeNoAnswer(const std::function<xcb_window_t()>& stand) {
    expectNoAnswer(stand, [this](xcb_window_t alert) {
      return clickWhenItHasStoodFor(alert, 0) && clickWhenItHasStoodFor(alert, 100) &&
             clickWhenItHasStoodFor(alert, 400);
    });
  }
};

INSTANTIATE_TEST_SUITE_P(On, AlertClicksTest, ::testing::ValuesIn(everyDesktop), nameOfDesktop);

TEST_P(AlertClicksTest, TakesNoClickInTheFirstHalfSecond) {
  expectEarlyClicksToBeNoAnswer([this] { return comesUp(); });
}

TEST_P(AlertClicksTest, WaitsAgainWhenItWasMoved) {
  expectEarlyClicksToBeNoAnswer([this] { return comesToAnotherPlace(); });
}

TEST_P(AlertClicksTest, TakesNoClickThatBeganTooEarly) {
  expectNoAnswer([this] { return comesUp(); },
                 [this](xcb_window_t alert) {
                   const bool early = buttonWhenItHasStoodFor(alert, XCB_BUTTON_PRESS, 400);
                   buttonWhenItHasStoodFor(alert, XCB_BUTTON_RELEASE, 600);
                   return early;
                 });
}

TEST_P(AlertClicksTest, TakesNoClickThatAnotherProgramMadeUp) {
  const xcb_window_t alert = ask("Ada");
  const Place place = placeOf(alert);
  const Point allow = allowIn(place);
  xcb_button_press_event_t event{};
  event.detail = 1;
  event.time = observer_.now();
  event.root = desktop_.root();
  event.event = alert;
  event.root_x = static_cast<std::int16_t>(allow.x);
  event.root_y = static_cast<std::int16_t>(allow.y);
  event.event_x = static_cast<std::int16_t>(allow.x - place.x);
  event.event_y = static_cast<std::int16_t>(allow.y - place.y);
  event.same_screen = 1;
  for (const int type : {XCB_BUTTON_PRESS, XCB_BUTTON_RELEASE}) {
    event.response_type = static_cast<std::uint8_t>(type);
    xcb_send_event(desktop_.connection(), 0, alert, XCB_EVENT_MASK_NO_EVENT,
                   reinterpret_cast<const char*>(&event));
  }
  xcb_flush(desktop_.connection());
  observer_.waitUntilActsCount(alert);
  EXPECT_TRUE(desktop_.isShown(alert));
  desktop_.click(allow.x, allow.y);
  EXPECT_EQ(program_.line(), "allowed");
}

}  // namespace
}  // namespace vesk::testing::VESK_FILE
