#include "platform/linux/x11/alert/ServerTime.h"

#include <gtest/gtest.h>

#include "platform/linux/x11/server/Connection.h"
#include "platform/linux/x11/server/Properties.h"
#include "support/PlainWindow.h"
#include "support/XPainter.h"
#include "support/XServer.h"

namespace vesk::x11::alert::VESK_FILE {
namespace {

using testing::DisplayVariable;
using testing::XServer;

class ServerTimeTest : public ::testing::Test {
 protected:
  xcb_property_notify_event_t changed(const char* property, xcb_timestamp_t at) const {
    xcb_property_notify_event_t event{};
    event.response_type = XCB_PROPERTY_NOTIFY;
    event.window = window.id();
    event.atom = server::atom(connection.get(), property);
    event.time = at;
    return event;
  }

  XServer server{"320x240x24"};
  DisplayVariable display{server.display()};
  server::Connection connection;
  testing::PlainWindow window{{0, 0, 10, 10}, 0};
  ServerTime time{connection.get(), window.id()};
};

TEST_F(ServerTimeTest, IsToldByThePropertyThatTheQuestionChanges) {
  const std::uint32_t properties = XCB_EVENT_MASK_PROPERTY_CHANGE;
  xcb_change_window_attributes(connection.get(), window.id(), XCB_CW_EVENT_MASK, &properties);
  time.ask();
  const server::ReplyPtr<xcb_generic_event_t> event(xcb_wait_for_event(connection.get()));
  ASSERT_NE(event, nullptr);
  ASSERT_EQ(event->response_type, XCB_PROPERTY_NOTIFY);
  const auto& notice = reinterpret_cast<const xcb_property_notify_event_t&>(*event);
  EXPECT_EQ(time.answerOf(notice), time.timeOf(notice.time));
  EXPECT_EQ(time.answerOf(notice), std::nullopt) << "nobody has asked";
}

TEST_F(ServerTimeTest, CountsFromTheLastQuestion) {
  time.ask();
  time.ask();
  EXPECT_EQ(time.answerOf(changed("WM_NAME", 90)), std::nullopt);
  EXPECT_EQ(time.answerOf(changed("_VESK_REMOTE_TIME", 100)), std::nullopt);
  EXPECT_EQ(time.answerOf(changed("_VESK_REMOTE_TIME", 200)), ServerTime::Time(200));
}

TEST_F(ServerTimeTest, GoesOnWhereTheServersNumbersBeginAnew) {
  for (const xcb_timestamp_t at : {0x7ffffff0U, 0xf0000000U, 0xfffffff0U}) {
    time.ask();
    ASSERT_EQ(time.answerOf(changed("_VESK_REMOTE_TIME", at)), ServerTime::Time(std::int64_t{at}));
  }
  EXPECT_EQ(time.timeOf(0x10), ServerTime::Time(0x100000010));
  EXPECT_EQ(time.timeOf(0xffffffe0), ServerTime::Time(0xffffffe0)) << "a little earlier";
}

}  // namespace
}  // namespace vesk::x11::alert::VESK_FILE
