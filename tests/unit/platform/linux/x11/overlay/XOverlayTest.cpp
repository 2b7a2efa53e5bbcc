#include "platform/linux/x11/overlay/XOverlay.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>

#include "platform/linux/x11/overlay/XOverlays.h"
#include "support/TestApplication.h"
#include "support/XPainter.h"
#include "support/XServer.h"

namespace vesk::x11::overlay::VESK_FILE {
namespace {

using namespace std::chrono_literals;

class XOverlayTest : public ::testing::Test {
 protected:
  testing::XServer server_;
  testing::DisplayVariable display_{server_.display()};
  testing::TestApplication application_;
  server::Connection other_;
  beneath::OwnWindows ownWindows_;
  XOverlays overlays_{ownWindows_};
};

TEST_F(XOverlayTest, IsOnTheScreenWhenItHasBeenOrderedFront) {
  OverlayAppearance appearance;
  appearance.frame = {{0, 0}, 400, 300};
  appearance.background = Colour{0.8, 0.05, 0.05, 1};
  appearance.border = OverlayBorder{{0.8, 0.05, 0.05, 1}, 8};
  const auto overlay = overlays_.makeOverlay(appearance);

  // The server does nothing for anybody else meanwhile.
  xcb_grab_server(other_.get());
  server::ReplyPtr<xcb_get_input_focus_reply_t>(
      xcb_get_input_focus_reply(other_.get(), xcb_get_input_focus(other_.get()), nullptr));
  std::atomic<bool> released = false;
  std::thread owner([&] {
    std::this_thread::sleep_for(200ms);
    released = true;
    xcb_ungrab_server(other_.get());
    xcb_flush(other_.get());
  });
  overlay->orderFrontRegardless();
  EXPECT_TRUE(released);
  owner.join();

  EXPECT_EQ(ownWindows_.all().size(), 5U);
  for (const auto window : ownWindows_.all()) {
    const server::ReplyPtr<xcb_get_window_attributes_reply_t> reply(xcb_get_window_attributes_reply(
        other_.get(), xcb_get_window_attributes(other_.get(), window), nullptr));
    ASSERT_NE(reply, nullptr);
    EXPECT_EQ(reply->map_state, XCB_MAP_STATE_VIEWABLE);
  }
}

}  // namespace
}  // namespace vesk::x11::overlay::VESK_FILE
