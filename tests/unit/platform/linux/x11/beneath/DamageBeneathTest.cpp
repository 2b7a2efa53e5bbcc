#include "platform/linux/x11/beneath/DamageBeneath.h"

#include "support/StackFixture.h"

namespace vesk::x11::beneath::VESK_FILE {
namespace {

class DamageBeneathTest : public testing::StackFixture {
 protected:
  DamageBeneathTest() {
    const std::vector<PixelRect> parts{{0, 0, 640, 20}};
    windows.choose(stack, parts);
    damage.setCovered(parts);
    settle();
    readEvents();
    damage.take();
  }

  void settle() const {
    const server::ReplyPtr<xcb_get_input_focus_reply_t> done(xcb_get_input_focus_reply(
        connection.get(), xcb_get_input_focus(connection.get()), nullptr));
  }

  /// Whether something was drawn in a window beneath.
  bool readEvents() {
    settle();
    bool drawn = false;
    while (
        const server::ReplyPtr<xcb_generic_event_t> event{xcb_poll_for_event(connection.get())}) {
      if (damage.isTold(*event)) drawn = damage.note(*event) || drawn;
    }
    return drawn;
  }

  DamageBeneath damage{connection, windows};
};

TEST_F(DamageBeneathTest, IsWhatWasDrawnWhereItIsCovered) {
  EXPECT_FALSE(damage.isWaiting());
  EXPECT_TRUE(damage.take().empty());
  right.fill({10, 10, 30, 100}, 0xffffff);
  EXPECT_TRUE(readEvents());
  EXPECT_TRUE(damage.isWaiting());
  EXPECT_EQ(damage.take(), (std::vector<PixelRect>{{310, 10, 30, 10}}));
  EXPECT_FALSE(damage.isWaiting());
}

TEST_F(DamageBeneathTest, IsNoneInOwnWindowsAndInThoseThatWereLeftOut) {
  strip.fill({0, 0, 10, 10}, 0xffffff);
  EXPECT_FALSE(readEvents());
  windows.choose(stack, {{0, 0, 200, 20}});
  right.fill({0, 0, 10, 10}, 0xffffff);
  EXPECT_FALSE(readEvents());
  EXPECT_TRUE(damage.take().empty());
}

TEST_F(DamageBeneathTest, CutsWhatIsCoveredOutOfARegion) {
  auto* const c = connection.get();
  const xcb_xfixes_region_t region = xcb_generate_id(c);
  const xcb_rectangle_t all{0, 0, 100, 100};
  xcb_xfixes_create_region(c, region, 1, &all);
  damage.cutOut(region);
  const server::ReplyPtr<xcb_xfixes_fetch_region_reply_t> rest(
      xcb_xfixes_fetch_region_reply(c, xcb_xfixes_fetch_region(c, region), nullptr));
  ASSERT_NE(rest, nullptr);
  EXPECT_EQ(rest->extents.y, 20);
  EXPECT_EQ(rest->extents.height, 80);
}

}  // namespace
}  // namespace vesk::x11::beneath::VESK_FILE
