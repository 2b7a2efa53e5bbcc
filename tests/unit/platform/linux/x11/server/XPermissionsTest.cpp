#include "platform/linux/x11/server/XPermissions.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>

#include "platform/linux/x11/server/Connection.h"
#include "platform/linux/x11/server/XDisplays.h"
#include "support/TemporaryFolder.h"
#include "support/UnixListener.h"
#include "support/XServer.h"

namespace vesk::x11::server::VESK_FILE {
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
  const Connection connection;
  XPermissions permissions(connection);
  EXPECT_TRUE(permissions.preflightScreenCaptureAccess());
  EXPECT_TRUE(permissions.requestScreenCaptureAccess());
  EXPECT_TRUE(permissions.isProcessTrusted());
  EXPECT_TRUE(permissions.isProcessTrustedWithPrompt());
}

TEST_F(XPermissionsTest, NeedEveryExtensionOfCapture) {
  for (const auto* extension : {"MIT-SHM", "DAMAGE", "XFIXES", "Composite", "RANDR", "RENDER"}) {
    const XServer server("640x480x24", {"-extension", extension});
    use(server.display());
    const Connection connection;
    XPermissions permissions(connection);
    EXPECT_FALSE(permissions.preflightScreenCaptureAccess()) << extension;
    EXPECT_TRUE(permissions.isProcessTrusted()) << extension;
  }
}

TEST_F(XPermissionsTest, NeedXTestForInputOnly) {
  const XServer server("640x480x24", {"-extension", "XTEST"});
  use(server.display());
  const Connection connection;
  XPermissions permissions(connection);
  EXPECT_TRUE(permissions.preflightScreenCaptureAccess());
  EXPECT_FALSE(permissions.isProcessTrusted());
}

/// A Wayland compositor that shows nothing, and an X server inside its session.
class WaylandSession {
 public:
  WaylandSession() { waitForCompositor(); }
  const std::string& display() const { return server_->display(); }

 private:
  void waitForCompositor() {
    const auto deadline = std::chrono::steady_clock::now() + vesk::testing::longestWait;
    while (!std::filesystem::exists(folder_.path() / "wayland-test")) {
      if (std::chrono::steady_clock::now() > deadline) throw std::runtime_error("no compositor");
      std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    server_ = std::make_unique<XServer>(
        std::vector<std::string>{"Xwayland", "-noreset"},
        std::vector<std::string>{"WAYLAND_DISPLAY=wayland-test", runtimeFolder_});
  }

  vesk::testing::TemporaryFolder folder_;
  std::string runtimeFolder_ = "XDG_RUNTIME_DIR=" + folder_.path().string();
  vesk::testing::ChildProcess compositor_{
      {"weston", "--backend=headless-backend.so", "--socket=wayland-test", "--idle-time=0",
       "--log=" + (folder_.path() / "log").string()},
      {runtimeFolder_}};
  std::unique_ptr<XServer> server_;
};

TEST_F(XPermissionsTest, AreDeniedByAServerThatOnlyServesAWaylandSession) {
  const WaylandSession session;
  use(session.display());
  const Connection connection;
  ASSERT_TRUE(connection);
  ASSERT_TRUE(connection.offers("XTEST")) << "the test would prove nothing";
  XPermissions permissions(connection);
  EXPECT_FALSE(permissions.preflightScreenCaptureAccess());
  EXPECT_FALSE(permissions.isProcessTrusted());
}

TEST_F(XPermissionsTest, AreTheStateOfTheMoment) {
  XServer server;
  use(server.display());
  const Connection connection;
  XPermissions permissions(connection);
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
            "no display: DISPLAY is not set; start the program inside a graphical session.");
  ::setenv("DISPLAY", ":65535", 1);
  EXPECT_FALSE(Connection());
  EXPECT_NE(Connection::advice().find("DISPLAY=:65535 does not answer"), std::string::npos);
  ::unsetenv("DISPLAY");
}

}  // namespace
}  // namespace vesk::x11::server::VESK_FILE
