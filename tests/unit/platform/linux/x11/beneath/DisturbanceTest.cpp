#include "platform/linux/x11/beneath/Disturbance.h"

#include <gtest/gtest.h>

#include <cstring>

namespace vesk::x11::beneath::VESK_FILE {
namespace {

constexpr xcb_window_t strip = 1;
constexpr xcb_window_t other = 2;
constexpr xcb_window_t unknown = 3;

class DisturbanceTest : public ::testing::Test {
 protected:
  static StackedWindow window(xcb_window_t id, const PixelRect& frame) {
    StackedWindow result;
    result.id = id;
    result.frame = frame;
    return result;
  }

  DisturbanceTest() {
    windows = {window(other, {10, 10, 50, 50}), window(strip, {0, 0, 100, 20})};
    windows.back().own = true;
  }

  Disturbance of(int type, xcb_window_t id) const {
    xcb_generic_event_t event{};
    event.response_type = static_cast<std::uint8_t>(type);
    return disturbance(event, id, windows);
  }

  Disturbance ofMoving(xcb_window_t id, const PixelRect& frame, int border = 0) const {
    xcb_configure_notify_event_t notice{};
    notice.response_type = XCB_CONFIGURE_NOTIFY;
    notice.x = static_cast<std::int16_t>(frame.x);
    notice.y = static_cast<std::int16_t>(frame.y);
    notice.width = static_cast<std::uint16_t>(frame.width - 2 * border);
    notice.height = static_cast<std::uint16_t>(frame.height - 2 * border);
    notice.border_width = static_cast<std::uint16_t>(border);
    xcb_generic_event_t event{};
    std::memcpy(&event, &notice, sizeof notice);
    return disturbance(event, id, windows);
  }

  std::vector<StackedWindow> windows;
};

TEST_F(DisturbanceTest, IsASeamWhateverAnotherWindowDoes) {
  EXPECT_EQ(ofMoving(other, {10, 200, 50, 50}), Disturbance::seam);
  EXPECT_EQ(ofMoving(other, {10, 10, 50, 50}), Disturbance::seam) << "raised";
  for (const auto type : {XCB_UNMAP_NOTIFY, XCB_DESTROY_NOTIFY, XCB_REPARENT_NOTIFY}) {
    EXPECT_EQ(of(type, other), Disturbance::seam);
  }
}

TEST_F(DisturbanceTest, IsNothingWhenAnOwnWindowIsRaised) {
  EXPECT_EQ(ofMoving(strip, {0, 0, 100, 20}), Disturbance::none);
  EXPECT_EQ(ofMoving(strip, {0, 0, 100, 20}, 2), Disturbance::none) << "with a border";
}

TEST_F(DisturbanceTest, IsGraveWhenAnOwnWindowMovesOrMayHaveComeUp) {
  EXPECT_EQ(ofMoving(strip, {0, 1, 100, 20}), Disturbance::ownWindow);
  EXPECT_EQ(of(XCB_MAP_NOTIFY, unknown), Disturbance::ownWindow);
  EXPECT_EQ(of(XCB_REPARENT_NOTIFY, unknown), Disturbance::ownWindow);
}

TEST_F(DisturbanceTest, IsNothingAsLongAsAWindowIsNotShown) {
  EXPECT_EQ(ofMoving(unknown, {0, 0, 50, 50}), Disturbance::none);
  EXPECT_EQ(of(XCB_UNMAP_NOTIFY, unknown), Disturbance::none);
  EXPECT_EQ(of(XCB_DESTROY_NOTIFY, unknown), Disturbance::none);
}

}  // namespace
}  // namespace vesk::x11::beneath::VESK_FILE
