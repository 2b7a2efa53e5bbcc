#include "platform/linux/x11/beneath/OwnWindows.h"

#include <gtest/gtest.h>

namespace vesk::x11::beneath::VESK_FILE {
namespace {

using std::chrono::milliseconds;

class OwnWindowsTest : public ::testing::Test {
 protected:
  void leave(xcb_window_t id) {
    StackedWindow window;
    window.id = id;
    own.leave(window, now);
  }

  std::vector<xcb_window_t> justLeft() const {
    std::vector<xcb_window_t> ids;
    for (const auto& left : own.justLeft(now)) ids.push_back(left.window.id);
    return ids;
  }

  using Ids = std::vector<xcb_window_t>;

  OwnWindows own;
  OwnWindows::Time now{std::chrono::hours(1)};
};

TEST_F(OwnWindowsTest, AreListedUntilTheyAreRemoved) {
  own.add(1);
  own.add(2);
  EXPECT_EQ(own.all(), (Ids{1, 2}));
  own.remove(1);
  own.remove(3);
  EXPECT_EQ(own.all(), (Ids{2}));
}

TEST_F(OwnWindowsTest, AreRememberedForAMomentWithTheTimeAtWhichTheyLeft) {
  EXPECT_EQ(justLeft(), Ids{});
  leave(1);
  now += milliseconds(300);
  leave(2);
  EXPECT_EQ(justLeft(), (Ids{1, 2}));
  EXPECT_EQ(own.justLeft(now).front().at, now - milliseconds(300));
  now += milliseconds(199);
  EXPECT_EQ(justLeft(), (Ids{1, 2}));
  now += milliseconds(1);
  EXPECT_EQ(justLeft(), (Ids{2}));
  leave(3);
  EXPECT_EQ(justLeft(), (Ids{2, 3}));
  EXPECT_EQ(own.all(), Ids{}) << "they are on the screen no more";
}

}  // namespace
}  // namespace vesk::x11::beneath::VESK_FILE
