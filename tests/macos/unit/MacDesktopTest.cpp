#include "macos/unit/SystemFixture.h"
#include "platform/macos/MacClock.h"
#include "platform/macos/MacDisplays.h"
#include "platform/macos/MacPermissions.h"

namespace vesk::mac::VESK_FILE {
namespace {

using namespace std::chrono_literals;

class MacDesktopTest : public vesk::testing::SystemFixture {
 protected:
  MacDisplays displays_;
  MacPermissions permissions_;
};

TEST_F(MacDesktopTest, KnowsTheMainDisplayAndItsPlace) {
  system_.bounds = {{-10, 20}, {1440, 900}};
  EXPECT_EQ(displays_.mainDisplay(), 7U);
  EXPECT_EQ(displays_.bounds(7), (Rect{{-10, 20}, 1440, 900}));
  EXPECT_EQ(displays_.bounds(8), Rect{});
}

TEST_F(MacDesktopTest, KnowsTheDisplaysSizes) {
  system_.pixelsWide = 1440;
  system_.pixelsHigh = 900;
  EXPECT_EQ(displays_.pixels(7), (PixelSize{1440, 900}));
  EXPECT_EQ(displays_.modePixels(7), std::nullopt);
  system_.mode = {2880, 1800};
  EXPECT_EQ(displays_.modePixels(7), (PixelSize{2880, 1800}));
}

TEST_F(MacDesktopTest, AsksForTheScreenOnlyWhenToldTo) {
  EXPECT_FALSE(permissions_.preflightScreenCaptureAccess());
  EXPECT_EQ(system_.recordRequests, 0);
  system_.mayRecord = true;
  EXPECT_TRUE(permissions_.preflightScreenCaptureAccess());
  EXPECT_TRUE(permissions_.requestScreenCaptureAccess());
  EXPECT_EQ(system_.recordRequests, 1);
}

TEST_F(MacDesktopTest, AsksForTrustOnlyWhenToldTo) {
  system_.trusted = true;
  EXPECT_TRUE(permissions_.isProcessTrusted());
  EXPECT_TRUE(system_.trustPrompts.empty());
  system_.trusted = false;
  EXPECT_FALSE(permissions_.isProcessTrustedWithPrompt());
  EXPECT_EQ(system_.trustPrompts, std::vector{true});
}

/// Whoever asks may run in a task that never ends.
TEST_F(MacDesktopTest, LeavesNothingBehindOfAnyQuestion) {
  permissions_.preflightScreenCaptureAccess();
  permissions_.requestScreenCaptureAccess();
  permissions_.isProcessTrusted();
  permissions_.isProcessTrustedWithPrompt();
  EXPECT_EQ(system_.questionsWithoutPool, 0);
}

TEST_F(MacDesktopTest, HasTheTimeOfTheHostsClock) {
  system_.now = CMTimeMake(3, 2);
  EXPECT_EQ(MacClock().hostTime(), HostTime(1500ms));
}

}  // namespace
}  // namespace vesk::mac::VESK_FILE
