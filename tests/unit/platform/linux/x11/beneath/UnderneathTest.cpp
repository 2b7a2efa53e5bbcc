#include "platform/linux/x11/beneath/Underneath.h"

#include "platform/linux/x11/server/Properties.h"
#include "platform/linux/x11/server/SharedPixels.h"
#include "support/Patience.h"
#include "support/StackFixture.h"

namespace vesk::x11::beneath::VESK_FILE {
namespace {

class UnderneathTest : public testing::StackFixture {
 protected:
  void takeIn() {
    while (
        const server::ReplyPtr<xcb_generic_event_t> event{xcb_poll_for_event(connection.get())}) {
      underneath.handle(*event);
    }
  }

  static constexpr PixelRect area{0, 0, 640, 480};
  server::SharedPixels picture{connection, std::size_t{640} * 480 * 4};
  Underneath underneath{connection, own, area};
};

TEST_F(UnderneathTest, KnowsThatANewWallpaperSpoilsAPicture) {
  takeIn();
  underneath.readStack({picture, area});
  // What has happened before came along with the answers.
  takeIn();
  underneath.readStack({picture, area});
  ASSERT_EQ(underneath.disturbance(), Disturbance::none);
  const server::Connection its;
  const xcb_pixmap_t wallpaper = xcb_generate_id(its.get());
  xcb_create_pixmap(its.get(), 24, wallpaper, its.root(), 640, 480);
  server::setCardinal(its.get(), its.root(), "_XROOTPMAP_ID", wallpaper);
  xcb_flush(its.get());
  EXPECT_TRUE(testing::waitUntil([&] {
    takeIn();
    return underneath.disturbance() != Disturbance::none;
  }));
  EXPECT_EQ(underneath.disturbance(), Disturbance::seam);
  EXPECT_TRUE(underneath.isStale());
}

}  // namespace
}  // namespace vesk::x11::beneath::VESK_FILE
