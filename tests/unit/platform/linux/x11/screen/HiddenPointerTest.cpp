#include "platform/linux/x11/screen/HiddenPointer.h"

#include <gtest/gtest.h>

#include <xcb/xfixes.h>

#include <optional>

#include "support/Patience.h"
#include "support/XPainter.h"
#include "support/XServer.h"

namespace vesk::x11::screen::VESK_FILE {
namespace {

using namespace std::chrono_literals;
using testing::DisplayVariable;
using testing::XServer;

/// A program that hides the pointer and shows it again.
class Hider {
 public:
  Hider() {
    const server::ReplyPtr<xcb_xfixes_query_version_reply_t> version(xcb_xfixes_query_version_reply(
        connection_.get(), xcb_xfixes_query_version(connection_.get(), 5, 0), nullptr));
  }
  void hide() { await(xcb_xfixes_hide_cursor_checked(connection_.get(), connection_.root())); }
  void show() { await(xcb_xfixes_show_cursor_checked(connection_.get(), connection_.root())); }

 private:
  void await(xcb_void_cookie_t request) {
    const server::ReplyPtr<xcb_generic_error_t> error(
        xcb_request_check(connection_.get(), request));
    EXPECT_EQ(error, nullptr);
  }

  server::Connection connection_;
};

class HiddenPointerTest : public ::testing::Test {
 protected:
  explicit HiddenPointerTest(const std::vector<std::string>& options = {})
      : server("320x200x24", options) {}

  bool isHidden() { return pointer.isHidden(now); }

  /// When the next look at all clients is over, however slow the server is.
  void wait() { now += 1h; }

  /// How many requests the connection has sent so far, this one among them.
  unsigned requests() const { return xcb_no_operation(connection.get()).sequence; }

  XServer server;
  DisplayVariable variable{server.display()};
  server::Connection connection;
  HiddenPointer pointer{connection};
  HiddenPointer::Clock::time_point now{1h};
  Hider one;
};

TEST_F(HiddenPointerTest, IsInSightWhereNobodyHidesIt) { EXPECT_FALSE(isHidden()); }

TEST_F(HiddenPointerTest, KnowsOfWhatHappenedBeforeItLooked) {
  one.hide();
  EXPECT_TRUE(isHidden());
}

TEST_F(HiddenPointerTest, LooksAtAllClientsOnlyNowAndThen) {
  EXPECT_FALSE(isHidden());
  one.hide();
  const auto before = requests();
  now += 249ms;
  EXPECT_FALSE(isHidden());
  EXPECT_EQ(requests() - before, 1U) << "the server was asked";
  wait();
  EXPECT_TRUE(isHidden());
}

TEST_F(HiddenPointerTest, AsksOnlyAboutWhoeverHidesIt) {
  one.hide();
  EXPECT_TRUE(isHidden());
  const auto before = requests();
  wait();
  EXPECT_TRUE(isHidden());
  EXPECT_EQ(requests() - before, 2U);
}

TEST_F(HiddenPointerTest, NoticesAtOnceThatItComesBack) {
  one.hide();
  EXPECT_TRUE(isHidden());
  one.show();
  EXPECT_FALSE(isHidden());
}

TEST_F(HiddenPointerTest, StaysHiddenUntilItWasShownAsOftenAsItWasHidden) {
  one.hide();
  one.hide();
  EXPECT_TRUE(isHidden());
  one.show();
  EXPECT_TRUE(isHidden());
  one.show();
  EXPECT_FALSE(isHidden());
}

TEST_F(HiddenPointerTest, StaysHiddenWhileAnyProgramHidesIt) {
  Hider other;
  for (auto* const first : {&one, &other}) {
    auto& last = first == &one ? other : one;
    one.hide();
    other.hide();
    wait();
    EXPECT_TRUE(isHidden());
    first->show();
    EXPECT_TRUE(isHidden());
    last.show();
    EXPECT_FALSE(isHidden());
  }
}

TEST_F(HiddenPointerTest, ComesBackWithTheEndOfWhoeverHidIt) {
  auto other = std::make_optional<Hider>();
  other->hide();
  EXPECT_TRUE(isHidden());
  other.reset();
  EXPECT_TRUE(testing::waitUntil([&] { return !isHidden(); }));
}

TEST_F(HiddenPointerTest, IsInSightOnceTheServerIsGone) {
  one.hide();
  EXPECT_TRUE(isHidden());
  server.kill();
  EXPECT_FALSE(isHidden());
}

TEST_F(HiddenPointerTest, TakesTheDesktopAHundredthOfItsTime) {
  EXPECT_EQ(HiddenPointer::pauseAfter(0ms), 250ms);
  EXPECT_EQ(HiddenPointer::pauseAfter(2ms), 250ms);
  EXPECT_EQ(HiddenPointer::pauseAfter(10ms), 1s);
}

class WithoutTheListTest : public HiddenPointerTest {
 protected:
  WithoutTheListTest() : HiddenPointerTest({"-extension", "X-Resource"}) {}
};

TEST_F(WithoutTheListTest, IsInSightAsFarAsAnybodyKnows) {
  one.hide();
  EXPECT_FALSE(isHidden());
}

}  // namespace
}  // namespace vesk::x11::screen::VESK_FILE
