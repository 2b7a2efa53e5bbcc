#include "platform/linux/alert/QtAlerts.h"

#include <gtest/gtest.h>

#include "platform/SystemClock.h"
#include "platform/linux/x11/alert/XAlertStage.h"
#include "platform/linux/x11/server/Connection.h"
#include "support/Patience.h"
#include "support/TestApplication.h"
#include "support/XPainter.h"
#include "support/XServer.h"

namespace vesk::alert::VESK_FILE {
namespace {

using namespace std::chrono_literals;

class QtAlertsTest : public ::testing::Test {
 protected:
  int windowsOnTheScreen() const {
    auto* const c = watcher_.get();
    const x11::server::ReplyPtr<xcb_query_tree_reply_t> tree(
        xcb_query_tree_reply(c, xcb_query_tree(c, watcher_.root()), nullptr));
    const auto* const windows = xcb_query_tree_children(tree.get());
    int viewable = 0;
    for (int i = 0; i < xcb_query_tree_children_length(tree.get()); ++i) {
      const x11::server::ReplyPtr<xcb_get_window_attributes_reply_t> reply(
          xcb_get_window_attributes_reply(c, xcb_get_window_attributes(c, windows[i]), nullptr));
      viewable += reply != nullptr && reply->map_state == XCB_MAP_STATE_VIEWABLE ? 1 : 0;
    }
    return viewable;
  }

  testing::XServer server_;
  testing::DisplayVariable display_{server_.display()};
  x11::server::Connection watcher_;
  testing::TestApplication application_{"xcb"};
  x11::beneath::OwnWindows ownWindows_;
  SystemClock clock_;
  InputGate gate_{clock_};
  QtAlerts alerts_{std::make_unique<x11::alert::XAlertStage>(ownWindows_), gate_};
};

TEST_F(QtAlertsTest, ShutsTheGateBeforeThereIsAnAlertAndUntilItIsAnswered) {
  std::vector<std::string> events;
  gate_.onClose = [&] {
    EXPECT_TRUE(ownWindows_.all().empty());
    EXPECT_EQ(windowsOnTheScreen(), 0);
    events.emplace_back("closed");
  };
  const auto alert = alerts_.makeAlert();
  alert->setMessageText("Ada would like to view your screen");
  alert->addButton("Allow");
  alert->addButton("Don't Allow");
  const auto timer = alerts_.startModalTimer(300ms, [&] {
    EXPECT_FALSE(gate_.isOpen());
    const bool inSight = testing::waitUntil([this] { return windowsOnTheScreen() == 1; });
    events.emplace_back(inSight ? "in sight" : "out of sight");
    alerts_.abortModal();
  });
  EXPECT_EQ(alert->runModal(), ModalResponse::abort);
  EXPECT_TRUE(gate_.isOpen());
  EXPECT_EQ(events, (std::vector<std::string>{"closed", "in sight"}));
}

TEST_F(QtAlertsTest, NotesWhereAnAlertWasThatIsAnswered) {
  const auto alert = alerts_.makeAlert();
  alert->setMessageText("Ada would like to view your screen");
  alert->addButton("Allow");
  std::vector<xcb_window_t> shown;
  const auto timer = alerts_.startModalTimer(1ms, [&] {
    EXPECT_TRUE(testing::waitUntil([this] { return windowsOnTheScreen() == 1; }));
    shown = ownWindows_.all();
    alerts_.abortModal();
  });
  alert->runModal();
  const auto left = ownWindows_.justLeft(x11::beneath::OwnWindows::Time::min());
  ASSERT_EQ(left.size(), 1U);
  EXPECT_EQ(std::vector{left.front().window.id}, shown);
  EXPECT_GT(left.front().window.frame.width, 380);
  EXPECT_GT(left.front().window.frame.height, 64);
}

}  // namespace
}  // namespace vesk::alert::VESK_FILE
