#include "platform/linux/x11/beneath/WindowsBeneath.h"

#include "support/StackFixture.h"

namespace vesk::x11::beneath::VESK_FILE {
namespace {

class WindowsBeneathTest : public testing::StackFixture {
 protected:
  std::vector<const WindowContents*> bottomToTop() const {
    return {windows.bottomToTop().begin(), windows.bottomToTop().end()};
  }

  /// Takes in what the windows have done, which the server has told by now.
  void readAgain() {
    stack.read();
    while (const server::ReplyPtr<xcb_generic_event_t> event{xcb_poll_for_event(connection.get())})
      stack.handle(*event);
    stack.read();
  }

  using Contents = std::vector<const WindowContents*>;
};

TEST_F(WindowsBeneathTest, AreThoseOfOthersThatMeetAPart) {
  EXPECT_TRUE(windows.choose(stack, {{0, 0, 640, 20}}));
  ASSERT_EQ(windows.bottomToTop().size(), 2U);
  EXPECT_EQ(bottomToTop(), (Contents{contentsOf(left), contentsOf(right)}));
  EXPECT_EQ(contentsOf(left)->window().id, left.id());
  EXPECT_EQ(contentsOf(strip), nullptr) << "its own";
  EXPECT_TRUE(windows.choose(stack, {{210, 0, 100, 20}}));
  EXPECT_EQ(bottomToTop(), (Contents{contentsOf(right)}));
  EXPECT_EQ(contentsOf(left), nullptr);
  EXPECT_TRUE(windows.choose(stack, {}));
  EXPECT_TRUE(bottomToTop().empty());
}

TEST_F(WindowsBeneathTest, AreTheSameAsLongAsNothingHappens) {
  windows.choose(stack, {{0, 0, 640, 20}});
  const auto* const before = contentsOf(left);
  stack.read();
  EXPECT_FALSE(windows.choose(stack, {{0, 0, 640, 10}}));
  EXPECT_EQ(contentsOf(left), before);
}

TEST_F(WindowsBeneathTest, AreOthersOnceOneIsRaisedOrMoves) {
  readAgain();
  windows.choose(stack, {{0, 0, 640, 20}});
  readAgain();
  ASSERT_FALSE(windows.choose(stack, {{0, 0, 640, 20}}));
  left.raise();
  readAgain();
  EXPECT_TRUE(windows.choose(stack, {{0, 0, 640, 20}}));
  EXPECT_EQ(bottomToTop(), (Contents{contentsOf(right), contentsOf(left)}));
  left.move(0, 5);
  readAgain();
  EXPECT_TRUE(windows.choose(stack, {{0, 0, 640, 20}}));
  EXPECT_EQ(contentsOf(left)->window().frame, (PixelRect{0, 5, 200, 200}));
}

}  // namespace
}  // namespace vesk::x11::beneath::VESK_FILE
