#include <gtest/gtest.h>

#include "e2e/PresenceFixture.h"

namespace vesk::testing {
namespace {

/// Which clicks answer the alert.
class AlertClicksTest : public PresenceTest {
 protected:
  /// The alert as it has just come up, the pointer over "Allow".
  xcb_window_t comesUp() {
    program_.send("ask Ada");
    const xcb_window_t alert = desktop_.alert();
    pointAtAllow(alert);
    return alert;
  }

  void pointAtAllow(xcb_window_t alert) {
    const Point allow = allowIn(placeOf(alert));
    desktop_.movePointer(allow.x, allow.y);
  }

  /// Press and release of the button when the alert has stood for so long.
  void clickWhenItHasStoodFor(xcb_window_t alert, std::uint32_t press, std::uint32_t release) {
    const std::uint32_t stood = observer_.now() - observer_.standsSince(alert);
    desktop_.button(XCB_BUTTON_PRESS, press > stood ? press - stood : 0);
    desktop_.button(XCB_BUTTON_RELEASE, release - press);
    desktop_.focus();  // an answer: it has been done
  }

  void expectNoAnswer(xcb_window_t alert) {
    observer_.waitUntilActsCount(alert);
    EXPECT_TRUE(desktop_.isShown(alert));
  }

  void expectToWaitForHalfASecond(xcb_window_t alert) {
    for (const std::uint32_t time : {0U, 100U, 400U}) clickWhenItHasStoodFor(alert, time, time);
    expectNoAnswer(alert);
    pointAtAllow(alert);
    clickWhenItHasStoodFor(alert, 600, 600);
    EXPECT_EQ(program_.line(), "allowed");
  }
};

INSTANTIATE_TEST_SUITE_P(On, AlertClicksTest, ::testing::ValuesIn(everyDesktop), nameOfDesktop);

TEST_P(AlertClicksTest, TakesNoClickInTheFirstHalfSecond) { expectToWaitForHalfASecond(comesUp()); }

TEST_P(AlertClicksTest, TakesNoClickThatBeganTooEarly) {
  const xcb_window_t alert = comesUp();
  clickWhenItHasStoodFor(alert, 400, 600);
  expectNoAnswer(alert);
  pointAtAllow(alert);
  clickWhenItHasStoodFor(alert, 600, 700);
  EXPECT_EQ(program_.line(), "allowed");
}

TEST_P(AlertClicksTest, WaitsAgainWhenItWasMoved) {
  const xcb_window_t alert = ask("Ada");
  const Place before = placeOf(alert);
  const std::uint32_t moved = observer_.now();
  const std::array<std::uint32_t, 2> place{static_cast<std::uint32_t>(before.x - 150),
                                           static_cast<std::uint32_t>(before.y - 100)};
  xcb_configure_window(desktop_.connection(), alert, XCB_CONFIG_WINDOW_X | XCB_CONFIG_WINDOW_Y,
                       place.data());
  xcb_flush(desktop_.connection());
  observer_.standsSince(alert, moved - 1);
  ASSERT_NE(placeOf(alert).x, before.x);
  pointAtAllow(alert);
  expectToWaitForHalfASecond(alert);
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
  expectNoAnswer(alert);
  desktop_.click(allow.x, allow.y);
  EXPECT_EQ(program_.line(), "allowed");
}

}  // namespace
}  // namespace vesk::testing
