#include "platform/linux/x11/overlay/CompositorWatch.h"

#include <gtest/gtest.h>

#include "platform/linux/x11/server/Properties.h"
#include "support/Patience.h"
#include "support/PlainWindow.h"
#include "support/XPainter.h"
#include "support/XServer.h"

namespace vesk::x11::overlay::VESK_FILE {
namespace {

using testing::DisplayVariable;
using testing::XServer;

class CompositorWatchTest : public ::testing::Test {
 protected:
  void setOwner(xcb_window_t owner) const {
    xcb_set_selection_owner(other.get(), owner, server::atom(other.get(), "_NET_WM_CM_S0"),
                            XCB_CURRENT_TIME);
    xcb_flush(other.get());
  }

  /// Hands on what has come; whether one of the events was told to change something.
  bool handleAll(CompositorWatch& watch) const {
    bool changed = false;
    while (
        const server::ReplyPtr<xcb_generic_event_t> event{xcb_poll_for_event(connection.get())}) {
      changed = watch.handle(*event) || changed;
    }
    return changed;
  }

  XServer server{"320x240x24"};
  DisplayVariable display{server.display()};
  server::Connection connection;
  server::Connection other;
  testing::PlainWindow window{{0, 0, 10, 10}, 0};
};

TEST_F(CompositorWatchTest, FollowsACompositorThatComesAndGoes) {
  CompositorWatch watch(connection);
  EXPECT_EQ(watch.composition(), Composition::none);
  EXPECT_FALSE(handleAll(watch));
  setOwner(window.id());
  EXPECT_TRUE(testing::waitUntil([&] { return handleAll(watch); }));
  EXPECT_EQ(watch.composition(), Composition::blended);
  setOwner(XCB_NONE);
  EXPECT_TRUE(testing::waitUntil([&] { return handleAll(watch); }));
  EXPECT_EQ(watch.composition(), Composition::none);
}

TEST_F(CompositorWatchTest, KnowsTheOneThatIsThereAlready) {
  setOwner(window.id());
  const auto atom = server::atom(other.get(), "_NET_WM_CM_S0");
  const server::ReplyPtr<xcb_get_selection_owner_reply_t> owner(xcb_get_selection_owner_reply(
      other.get(), xcb_get_selection_owner(other.get(), atom), nullptr));
  ASSERT_EQ(owner->owner, window.id());
  EXPECT_EQ(CompositorWatch(connection).composition(), Composition::blended);
}

TEST_F(CompositorWatchTest, IsBypassedWhileTheServersOwnWindowIsGone) {
  setOwner(window.id());
  CompositorWatch watch(connection);
  testing::waitUntil([&] {
    handleAll(watch);
    return watch.composition() == Composition::blended;
  });
  xcb_unmap_notify_event_t gone{};
  gone.response_type = XCB_UNMAP_NOTIFY;
  gone.window = 0x100;  // the server's numbers are the lowest
  EXPECT_TRUE(watch.handle(reinterpret_cast<const xcb_generic_event_t&>(gone)));
  EXPECT_EQ(watch.composition(), Composition::bypassed);
  gone.window = window.id();
  EXPECT_FALSE(watch.handle(reinterpret_cast<const xcb_generic_event_t&>(gone)));
  xcb_map_notify_event_t back{};
  back.response_type = XCB_MAP_NOTIFY;
  back.window = 0x100;
  EXPECT_TRUE(watch.handle(reinterpret_cast<const xcb_generic_event_t&>(back)));
  EXPECT_EQ(watch.composition(), Composition::blended);
}

}  // namespace
}  // namespace vesk::x11::overlay::VESK_FILE
