#include "support/Mutter.h"

#include <gtest/gtest.h>
#include <linux/input-event-codes.h>

#include <QDBusConnectionInterface>

#include "support/MutterHand.h"
#include "support/Patience.h"
#include "support/WlWindow.h"

namespace vesk::testing::VESK_FILE {
namespace {

bool isOnBus(const Mutter& desktop, const char* name) {
  return desktop.bus().interface()->isServiceRegistered(name).value();
}

TEST(MutterTest, ShowsWindowsAndGivesThemWhatThePersonDoes) {
  const Mutter desktop({.monitor = {1280, 720}, .hasPortal = false});
  desktop.enter();
  EXPECT_FALSE(isOnBus(desktop, "org.freedesktop.portal.Desktop"));
  const WlWindow window;
  EXPECT_EQ(window.size(), (PixelSize{1280, 720}));
  MutterHand hand(desktop);
  ASSERT_TRUE(hand.awaitFullSize(window));
  hand.click({400, 300});
  EXPECT_TRUE(window.waitFor([](const auto& seen) { return seen.count("button 272 up") == 1; }));
  EXPECT_EQ(window.seen().pointer, (Point{400, 300}));
  // The first key brings the keyboard.
  hand.strike(KEY_LEFTSHIFT);
  ASSERT_TRUE(window.waitFor([](const auto& seen) { return seen.hasFocus; }));
  hand.strike(KEY_A);
  EXPECT_TRUE(window.waitFor([](const auto& seen) { return seen.text == "a"; }));
}

TEST(MutterTest, HasAPortalWhereItIsWanted) {
  Mutter desktop;
  EXPECT_TRUE(isOnBus(desktop, "org.freedesktop.portal.Desktop"));
  desktop.killPortal();
  EXPECT_TRUE(waitUntil([&] { return !isOnBus(desktop, "org.freedesktop.portal.Desktop"); }));
  desktop.startPortal();
  EXPECT_TRUE(isOnBus(desktop, "org.freedesktop.portal.Desktop"));
}

}  // namespace
}  // namespace vesk::testing::VESK_FILE
