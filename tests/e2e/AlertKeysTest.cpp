#include <gtest/gtest.h>

#include "e2e/PresenceFixture.h"

namespace vesk::testing::VESK_FILE {
namespace {

/// Which keys answer the alert. The server repeats what is held, as it does for every program.
class AlertKeysTest : public PresenceTest {
 protected:
  static constexpr int dozens = 30;

  void expectNoAnswer(xcb_window_t alert) {
    // Whatever the program was told by now, it has done when it answers on the same thread.
    EXPECT_EQ(program_.ask("focus"), "focused");
    EXPECT_TRUE(desktop_.isShown(alert));
  }

  void expectAnswer(std::uint32_t key, const char* answer) {
    // Hands are slower than the server's clock; for it, a repeat's release and press are at one
    // time.
    const std::uint32_t start = observer_.now();
    waitUntil([&] { return observer_.now() > start; });
    desktop_.key(key);
    EXPECT_EQ(program_.line(), answer);
  }

  /// Waits for so many more repeats to reach the alert.
  void waitForRepeats(xcb_window_t alert, std::uint32_t key) {
    const std::uint8_t code = desktop_.keyCode(key);
    EXPECT_TRUE(observer_.seesPresses(alert, code, observer_.presses(alert, code) + dozens));
  }

  /// While it is held: before keys count, and from then on.
  void expectOnlyAnotherReturnToAnswer(xcb_window_t alert) {
    waitForRepeats(alert, returnKey);
    untilActsCount(alert);
    waitForRepeats(alert, returnKey);
    expectNoAnswer(alert);
    desktop_.release(returnKey);
    expectAnswer(returnKey, "allowed");
  }
};

INSTANTIATE_TEST_SUITE_P(On, AlertKeysTest, ::testing::ValuesIn(everyDesktop), nameOfDesktop);

TEST_P(AlertKeysTest, TakesNoKeyThatWasHeldBeforeIt) {
  const std::pair<std::uint32_t, const char*> keys[] = {
      {returnKey, "allowed"}, {spaceKey, "allowed"}, {escapeKey, "denied"}};
  for (const auto& [key, answer] : keys) {
    SCOPED_TRACE(key);
    desktop_.press(key);
    const xcb_window_t alert = ask("Ada");
    waitForRepeats(alert, key);
    expectNoAnswer(alert);
    desktop_.release(key);
    expectNoAnswer(alert);
    expectAnswer(key, answer);
  }
}

TEST_P(AlertKeysTest, MovesToNoOtherButtonByAKeyThatWasHeldBeforeIt) {
  desktop_.press(tabKey);
  const xcb_window_t alert = ask("Ada");
  waitForRepeats(alert, tabKey);
  desktop_.release(tabKey);
  expectNoAnswer(alert);
  expectAnswer(spaceKey, "allowed");
}

TEST_P(AlertKeysTest, IsNotConfusedByModifiersThatWereHeldBeforeIt) {
  for (const std::uint32_t modifier : {shiftKey, altKey}) {
    desktop_.press(modifier);
    const xcb_window_t alert = ask("Ada");
    expectNoAnswer(alert);
    desktop_.release(modifier);
    expectNoAnswer(alert);
    expectAnswer(escapeKey, "denied");
  }
}

TEST_P(AlertKeysTest, TakesASpaceThatIsHeldForAnAnswerWhenItIsLetGo) {
  const xcb_window_t alert = ask("Ada");
  desktop_.press(spaceKey);
  waitForRepeats(alert, spaceKey);
  expectNoAnswer(alert);
  desktop_.release(spaceKey);
  EXPECT_EQ(program_.line(), "allowed");
}

/// The mark of a repeat is the server's, whatever the program sees of it.
TEST_P(AlertKeysTest, TakesAKeyThatIsHeldFromAPressThatCameTooEarlyForNoAnswer) {
  program_.send("ask Ada");
  const xcb_window_t alert = desktop_.alert();
  ASSERT_TRUE(waitUntil([&] { return desktop_.focus() == alert; }));
  desktop_.press(returnKey);
  expectOnlyAnotherReturnToAnswer(alert);
}

TEST_P(AlertKeysTest, BeginsAnewWhenTheFocusComesBack) {
  const xcb_window_t other = desktop_.makeWindow(0, 0, 60, 60, backdrop, true);
  const xcb_window_t alert = ask("Ada");
  desktop_.setFocus(other);
  ASSERT_TRUE(waitUntil([&] { return desktop_.focus() == other; }));
  desktop_.press(returnKey);
  desktop_.setFocus(alert);
  ASSERT_TRUE(waitUntil([&] { return desktop_.focus() == alert; }));
  expectOnlyAnotherReturnToAnswer(alert);
}

/// Too quick for the toolkit, which tells nobody of it.
TEST_P(AlertKeysTest, WaitsAgainWhenTheFocusWasGoneForAMoment) {
  const xcb_window_t other = desktop_.makeWindow(0, 0, 60, 60, backdrop, true);
  const xcb_window_t alert = ask("Ada");
  const std::uint32_t before = observer_.now();
  desktop_.setFocus(other);
  desktop_.setFocus(alert);
  desktop_.key(returnKey);
  const std::uint32_t after = observer_.now();
  const std::uint32_t since = observer_.standsSince(alert, before - 1);
  EXPECT_GE(since, before);
  ASSERT_LT(after - before, 500U);  // or nothing is proven
  expectNoAnswer(alert);
  untilActsCount(alert);
  expectAnswer(returnKey, "allowed");
}

/// As one program may send it to the window of another, past every keyboard.
TEST_P(AlertKeysTest, TakesNoEventThatAnotherProgramMadeUp) {
  const xcb_window_t alert = ask("Ada");
  xcb_key_press_event_t event{};
  event.detail = desktop_.keyCode(returnKey);
  event.time = observer_.now();
  event.root = desktop_.root();
  event.event = alert;
  event.same_screen = 1;
  for (const int type : {XCB_KEY_PRESS, XCB_KEY_RELEASE}) {
    event.response_type = static_cast<std::uint8_t>(type);
    xcb_send_event(desktop_.connection(), 0, alert, XCB_EVENT_MASK_NO_EVENT,
                   reinterpret_cast<const char*>(&event));
  }
  xcb_flush(desktop_.connection());
  observer_.waitUntilActsCount(alert);
  expectNoAnswer(alert);
  expectAnswer(returnKey, "allowed");
}

}  // namespace
}  // namespace vesk::testing::VESK_FILE
