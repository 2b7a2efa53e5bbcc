#include "platform/linux/x11/beneath/CoveredParts.h"

#include <gtest/gtest.h>

#include <cstring>

namespace vesk::x11::beneath::VESK_FILE {
namespace {

using Parts = std::vector<PixelRect>;
using std::chrono::milliseconds;

constexpr xcb_window_t strip = 1;
constexpr xcb_window_t other = 2;

class CoveredPartsTest : public ::testing::Test {
 protected:
  static StackedWindow window(xcb_window_t id, const PixelRect& frame) {
    StackedWindow result;
    result.id = id;
    result.frame = frame;
    result.own = id == strip;
    return result;
  }

  Parts shown(const std::vector<StackedWindow>& windows) {
    return covered.update(windows, /*composited=*/false, now);
  }

  Parts composited(const std::vector<StackedWindow>& windows) {
    return covered.update(windows, /*composited=*/true, now);
  }

  void passThrough(xcb_window_t id, const PixelRect& frame) {
    xcb_configure_notify_event_t notice{};
    notice.response_type = XCB_CONFIGURE_NOTIFY;
    notice.window = id;
    notice.x = static_cast<std::int16_t>(frame.x);
    notice.y = static_cast<std::int16_t>(frame.y);
    notice.width = static_cast<std::uint16_t>(frame.width);
    notice.height = static_cast<std::uint16_t>(frame.height);
    xcb_generic_event_t event{};
    std::memcpy(&event, &notice, sizeof notice);
    covered.handle(event, now);
  }

  CoveredParts covered{{100, 0, 1000, 1000}};
  CoveredParts::Time now{std::chrono::hours(1)};
};

TEST_F(CoveredPartsTest, AreThoseOfOwnWindowsInTheMonitor) {
  EXPECT_EQ(shown({window(other, {200, 200, 50, 50})}), Parts{});
  EXPECT_EQ(shown({window(other, {200, 200, 50, 50}), window(strip, {50, 10, 100, 20})}),
            (Parts{{100, 10, 50, 20}}));
  EXPECT_EQ(shown({}), Parts{});
}

TEST_F(CoveredPartsTest, HoldEachPixelOnce) {
  auto second = window(other, {300, 100, 100, 10});
  second.own = true;
  int pixels = 0;
  for (const auto& part : shown({window(strip, {250, 100, 100, 10}), second}))
    pixels += part.width * part.height;
  EXPECT_EQ(pixels, 150 * 10);
}

TEST_F(CoveredPartsTest, ReachAsFarAsTheShadowOfAFrame) {
  auto framed = window(strip, {300, 300, 100, 100});
  framed.framed = true;
  EXPECT_EQ(shown({framed}), (Parts{{300, 300, 100, 100}}));
  EXPECT_EQ(composited({framed}), (Parts{{260, 260, 180, 180}}));
}

TEST_F(CoveredPartsTest, LastUntilACompositorHasLetTheWindowFade) {
  composited({window(strip, {200, 0, 100, 20})});
  EXPECT_EQ(covered.overdueAt(), CoveredParts::Time::max());
  EXPECT_EQ(composited({}), (Parts{{200, 0, 100, 20}}));
  EXPECT_EQ(covered.overdueAt(), now + milliseconds(500));
  EXPECT_FALSE(covered.isOverdue(now));
  now += milliseconds(499);
  EXPECT_FALSE(covered.isOverdue(now));
  EXPECT_EQ(composited({}), (Parts{{200, 0, 100, 20}}));
  now += milliseconds(1);
  EXPECT_TRUE(covered.isOverdue(now));
  EXPECT_EQ(composited({}), Parts{});
  EXPECT_FALSE(covered.isOverdue(now));
  EXPECT_EQ(covered.overdueAt(), CoveredParts::Time::max());
}

TEST_F(CoveredPartsTest, AreLeftOneAfterTheOther) {
  composited({window(strip, {200, 0, 100, 20})});
  composited({window(strip, {400, 0, 100, 20})});
  now += milliseconds(200);
  composited({window(strip, {600, 0, 100, 20})});
  EXPECT_EQ(covered.overdueAt(), now + milliseconds(300));
  now += milliseconds(300);
  composited({window(strip, {600, 0, 100, 20})});
  EXPECT_EQ(covered.overdueAt(), now + milliseconds(200));
}

TEST_F(CoveredPartsTest, AreLeftAtOnceWithoutACompositor) {
  shown({window(strip, {200, 0, 100, 20})});
  passThrough(strip, {400, 0, 100, 20});
  EXPECT_EQ(shown({}), Parts{});
  EXPECT_FALSE(covered.isOverdue(now + milliseconds(500)));
}

TEST_F(CoveredPartsTest, AreLeftByWindowsThatWentJustBefore) {
  auto framed = window(strip, {300, 300, 100, 100});
  framed.framed = true;
  const std::vector<OwnWindows::Left> left{{framed, now - milliseconds(100)},
                                           {window(strip, {0, 0, 50, 50}), now}};
  CoveredParts late({100, 0, 1000, 1000}, left);
  EXPECT_EQ(late.update({}, /*composited=*/true, now), (Parts{{260, 260, 180, 180}}));
  EXPECT_EQ(late.overdueAt(), now + milliseconds(400));
  EXPECT_EQ(late.update({}, /*composited=*/true, now + milliseconds(400)), Parts{});
  EXPECT_EQ(late.overdueAt(), CoveredParts::Time::max())
      << "the other was on no part of the monitor";
  CoveredParts unseen({100, 0, 1000, 1000}, left);
  EXPECT_EQ(unseen.update({}, /*composited=*/false, now), Parts{}) << "without a compositor";
}

TEST_F(CoveredPartsTest, AreLeftForAsLongAsTheLastOfATrace) {
  auto first = window(strip, {200, 0, 100, 20});
  CoveredParts late({100, 0, 1000, 1000}, {{first, now}, {first, now - milliseconds(100)}});
  EXPECT_EQ(late.update({}, /*composited=*/true, now), (Parts{{200, 0, 100, 20}}));
  EXPECT_EQ(late.overdueAt(), now + milliseconds(500));
}

TEST_F(CoveredPartsTest, FollowAWindowThroughEveryPlaceAsOneTrace) {
  composited({window(strip, {200, 0, 100, 20})});
  passThrough(strip, {250, 0, 100, 20});
  passThrough(strip, {300, 0, 100, 20});
  EXPECT_EQ(composited({window(strip, {200, 0, 100, 20})}).size(), 2U) << "the window, the trace";
  int pixels = 0;
  for (const auto& part : composited({})) pixels += part.width * part.height;
  EXPECT_EQ(pixels, 200 * 20);
}

TEST_F(CoveredPartsTest, LeaveNoTraceOfAWindowThatIsOnlyRaised) {
  composited({window(strip, {200, 0, 100, 20})});
  passThrough(strip, {200, 0, 100, 20});
  EXPECT_EQ(covered.overdueAt(), CoveredParts::Time::max());
}

TEST_F(CoveredPartsTest, AreLeftByABorderWithoutWhatItSurrounds) {
  auto left = window(other, {100, 10, 10, 990});
  left.own = true;
  const auto border = composited({window(strip, {100, 0, 1000, 10}), left});
  EXPECT_EQ(composited({}), border);
}

TEST_F(CoveredPartsTest, DoNotFollowOtherWindows) {
  composited({window(other, {200, 200, 50, 50})});
  passThrough(other, {300, 300, 50, 50});
  passThrough(strip, {400, 400, 50, 50});
  EXPECT_EQ(composited({}), Parts{});
}

}  // namespace
}  // namespace vesk::x11::beneath::VESK_FILE
