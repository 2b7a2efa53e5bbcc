#include "platform/linux/x11/XPermissions.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include <string>

#include "platform/linux/x11/XDisplays.h"
#include "support/XServer.h"

namespace vesk::x11 {
namespace {

using vesk::testing::XServer;

/// Makes DISPLAY name a server for the length of a test.
class DisplayTest : public ::testing::Test {
 protected:
  ~DisplayTest() override { ::unsetenv("DISPLAY"); }
  static void use(const std::string& display) { ::setenv("DISPLAY", display.c_str(), 1); }
};

using XPermissionsTest = DisplayTest;
using XDisplaysTest = DisplayTest;

TEST_F(XPermissionsTest, AreGrantedByAServerThatOffersEverything) {
  const XServer server;
  use(server.display());
  XPermissions permissions;
  EXPECT_TRUE(permissions.preflightScreenCaptureAccess());
  EXPECT_TRUE(permissions.requestScreenCaptureAccess());
  EXPECT_TRUE(permissions.isProcessTrusted());
  EXPECT_TRUE(permissions.isProcessTrustedWithPrompt());
}

TEST_F(XPermissionsTest, NeedEveryExtensionOfCapture) {
  for (const auto* extension : {"MIT-SHM", "DAMAGE", "XFIXES", "Composite", "RANDR"}) {
    const XServer server("640x480x24", {"-extension", extension});
    use(server.display());
    XPermissions permissions;
    EXPECT_FALSE(permissions.preflightScreenCaptureAccess()) << extension;
    EXPECT_TRUE(permissions.isProcessTrusted()) << extension;
  }
}

TEST_F(XPermissionsTest, NeedXTestForInputOnly) {
  const XServer server("640x480x24", {"-extension", "XTEST"});
  use(server.display());
  XPermissions permissions;
  EXPECT_TRUE(permissions.preflightScreenCaptureAccess());
  EXPECT_FALSE(permissions.isProcessTrusted());
}

TEST_F(XPermissionsTest, AreTheStateOfTheMoment) {
  XServer server;
  use(server.display());
  XPermissions permissions;
  EXPECT_TRUE(permissions.preflightScreenCaptureAccess());
  server.kill();
  EXPECT_FALSE(permissions.preflightScreenCaptureAccess());
  EXPECT_FALSE(permissions.isProcessTrusted());
}

TEST_F(XDisplaysTest, TellTheOnlyMonitorOfAServer) {
  const XServer server("1280x720x24");
  use(server.display());
  XDisplays displays;
  const DisplayId main = displays.mainDisplay();
  EXPECT_NE(main, 0U);
  EXPECT_EQ(displays.bounds(main), (Rect{{0, 0}, 1280, 720}));
  EXPECT_EQ(displays.pixels(main), (PixelSize{1280, 720}));
  EXPECT_EQ(displays.modePixels(main), (PixelSize{1280, 720}));
}

TEST_F(XDisplaysTest, KnowNothingOfADisplayThatIsNotThere) {
  XServer server;
  use(server.display());
  XDisplays displays;
  EXPECT_EQ(displays.bounds(0x7fffffff), Rect{});
  EXPECT_EQ(displays.modePixels(0x7fffffff), std::nullopt);
  server.kill();
  EXPECT_EQ(displays.mainDisplay(), 0U);
}

TEST(ConnectionTest, AdvisesInOneLine) {
  ::unsetenv("DISPLAY");
  EXPECT_FALSE(Connection());
  EXPECT_EQ(Connection::advice(),
            "no display: DISPLAY is not set; start the program inside a graphical X session.");
  ::setenv("DISPLAY", ":65535", 1);
  EXPECT_FALSE(Connection());
  EXPECT_NE(Connection::advice().find("DISPLAY=:65535 does not answer"), std::string::npos);
  ::unsetenv("DISPLAY");
}

}  // namespace
}  // namespace vesk::x11
