#include "platform/linux/x11/beneath/WindowStack.h"

#include <algorithm>
#include <cstring>
#include <set>

#include "platform/linux/x11/beneath/shownWindow.h"
#include "support/StackFixture.h"

namespace vesk::x11::beneath::VESK_FILE {
namespace {

class WindowStackTest : public testing::StackFixture {
 protected:
  const StackedWindow& windowOf(const testing::PlainWindow& window) const {
    return *std::ranges::find(stack.windows(), window.id(), &StackedWindow::id);
  }

  /// The server has put one into the other by then.
  void putInto(const testing::PlainWindow& window, const testing::PlainWindow& frame) {
    auto* const c = connection.get();
    const server::ReplyPtr<xcb_generic_error_t> refused(
        xcb_request_check(c, xcb_reparent_window_checked(c, window.id(), frame.id(), 10, 30)));
    ASSERT_EQ(refused, nullptr);
  }
};

TEST_F(WindowStackTest, HoldsAnOwnWindowsFrame) {
  putInto(left, right);
  own.add(left.id());
  stack.read();
  EXPECT_TRUE(windowOf(right).own);
  EXPECT_TRUE(windowOf(right).framed);
  EXPECT_TRUE(windowOf(strip).own);
  EXPECT_FALSE(windowOf(strip).framed);
  own.remove(left.id());
  stack.read();
  EXPECT_TRUE(windowOf(right).own) << "it goes a moment later";
  EXPECT_TRUE(windowOf(right).framed);
}

TEST_F(WindowStackTest, KnowsAFrameWhoseWindowHasJustLeft) {
  putInto(left, right);
  const auto shown = shownWindow(connection.get(), left.id());
  ASSERT_TRUE(shown);
  own.leave(*shown, OwnWindows::Time::clock::now());
  WindowStack late(connection, own);
  late.read();
  const auto frame = std::ranges::find(late.windows(), right.id(), &StackedWindow::id);
  ASSERT_NE(frame, late.windows().end());
  EXPECT_TRUE(frame->own);
  EXPECT_TRUE(frame->framed);
}

TEST_F(WindowStackTest, TakesNoOtherWindowOfItsNumberForAnOwnOne) {
  own.remove(strip.id());
  ASSERT_TRUE(windowOf(strip).own);
  xcb_destroy_notify_event_t notice{};
  notice.response_type = XCB_DESTROY_NOTIFY;
  notice.window = strip.id();
  xcb_generic_event_t event{};
  std::memcpy(&event, &notice, sizeof notice);
  stack.handle(event);
  stack.read();
  EXPECT_FALSE(windowOf(strip).own);
  EXPECT_EQ(stack.takeDestroyed(), std::set{strip.id()});
  EXPECT_TRUE(stack.takeDestroyed().empty());
}

TEST_F(WindowStackTest, IsToldHowTheScreenShowsAWindow) {
  const auto alone = shownWindow(connection.get(), right.id());
  ASSERT_TRUE(alone);
  EXPECT_EQ(alone->id, right.id());
  EXPECT_EQ(alone->frame, (PixelRect{300, 0, 200, 200}));
  EXPECT_TRUE(alone->own);
  EXPECT_FALSE(alone->framed);
  putInto(left, right);
  const auto framed = shownWindow(connection.get(), left.id());
  ASSERT_TRUE(framed);
  EXPECT_EQ(framed->id, right.id());
  EXPECT_EQ(framed->frame, (PixelRect{300, 0, 200, 200}));
  EXPECT_TRUE(framed->framed);
  EXPECT_FALSE(shownWindow(connection.get(), XCB_NONE));
}

}  // namespace
}  // namespace vesk::x11::beneath::VESK_FILE
