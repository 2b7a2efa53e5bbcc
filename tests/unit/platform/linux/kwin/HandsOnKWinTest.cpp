#include <csignal>

#include "support/XServer.h"
#include "unit/platform/linux/kwin/GivenDesktop.h"
#include "unit/platform/linux/portal/input/PosterFixture.h"

namespace vesk::portal::input::VESK_FILE {
namespace {

class HandsOnKWinTest : public PosterFixtureOn<session::GivenDesktop> {
 protected:
  /// Programs count ten for a notch.
  std::size_t notches(const std::string& ofTen) const {
    return window->seen().count("axis vertical " + ofTen);
  }
};

TEST_F(HandsOnKWinTest, PointsPressesAndTurnsTheWheelByWholeNotches) {
  move({401, 300});
  EXPECT_TRUE(window->waitFor([](const auto& seen) { return seen.pointer == Point{401, 300}; }));
  mouse(EventType::rightMouseDown, {10, 20}, MouseButton::right);
  mouse(EventType::rightMouseUp, {30, 20}, MouseButton::right);
  EXPECT_TRUE(window->waitFor([](const auto& seen) { return seen.count("button 273 up") == 1; }));
  EXPECT_EQ(window->seen().count("button 273 down"), 1U);
  poster.post(ScrollEvent{.lines = 6});
  poster.post(ScrollEvent{.lines = -3});
  EXPECT_TRUE(window->waitFor([](const auto& seen) { return seen.count("axis") == 3; }));
  EXPECT_EQ(notches("-10"), 2U);
  EXPECT_EQ(notches("10"), 1U);
}

TEST_F(HandsOnKWinTest, TypesInOrderFromTheFirstKeyOnAndCountsWhatTheLayoutLacks) {
  std::string expected;
  for (int i = 0; i < 100; ++i) {
    strike(0x00);
    strike(0x0B, eventFlag::shift);
    strike(0x08);
    expected += "aBc";
  }
  EXPECT_TRUE(hasTyped(expected)) << window->seen().text;
  window->forget();
  type(u"Hello, World! ~{}\tä中😀.\n");
  EXPECT_TRUE(window->waitFor([](const auto& seen) { return seen.text.ends_with("\r"); }));
  EXPECT_EQ(window->seen().text, "Hello, World! ~{}\t.\r");
  endInput();
  EXPECT_EQ(lacking, std::vector<std::size_t>{3});
}

TEST_F(HandsOnKWinTest, LetsGoOfEverythingWhenTheGateCloses) {
  hold();
  ASSERT_TRUE(isHeld());
  gate.close();
  EXPECT_TRUE(isFree());
}

TEST_F(HandsOnKWinTest, LetsGoOfEverythingWhenTheSessionEnds) {
  hold();
  ASSERT_TRUE(isHeld());
  session.reset();
  EXPECT_TRUE(isFree());
}

TEST_F(HandsOnKWinTest, LetsGoOfEverythingWhenThePortalIsKilled) {
  hold();
  ASSERT_TRUE(isHeld());
  desktop.killPortal();
  EXPECT_TRUE(isFree());
}

struct TwoOutputs : testing::KWin {
  TwoOutputs() : KWin({.outputs = 2}) {}
};

class HandsOnTwoOutputsTest : public PosterFixtureOn<session::GivenDesktopOf<TwoOutputs>> {};

TEST_F(HandsOnTwoOutputsTest, PointWhereThePictureOfBothShowsIt) {
  move({320, 400});
  EXPECT_TRUE(window->waitFor([](const auto& seen) {
    return seen.pointer == Point{640, 400};
  })) << window->seen().pointer.x;
  EXPECT_EQ(poster.pointerLocation(), (Point{320, 400}));
  move({1000, 400});
  EXPECT_TRUE(window->waitFor([](const auto& seen) { return !seen.hasPointer; }));
}

struct SharpOutput : testing::KWin {
  SharpOutput() : KWin({.screen = {640, 400}, .scale = 2}) {}
};

class HandsOnASharpOutputTest : public PosterFixtureOn<session::GivenDesktopOf<SharpOutput>> {};

TEST_F(HandsOnASharpOutputTest, PointInPoints) {
  move({600, 300});
  EXPECT_TRUE(window->waitFor([](const auto& seen) {
    return seen.pointer == Point{600, 300};
  })) << window->seen().pointer.x;
  move({5000, 5000});
  EXPECT_TRUE(window->waitFor([](const auto& seen) { return seen.pointer.x > 638; }));
}

/// Nobody else can: the compositor keeps it down, and gives its input to sessions alone.
TEST_F(HandsOnKWinTest, LetsGoOfWhatAProgramThatWasKilledHasHeld) {
  session.reset();
  {
    testing::ChildProcess program({VESK_HOLDING_PORTAL}, desktop.environment());
    ASSERT_TRUE(isHeld());
    program.stop(SIGKILL);
  }
  grants.clear();
  ASSERT_TRUE(begin());
  EXPECT_TRUE(isFree());
  window->forget();
  strike(0x0B);
  EXPECT_TRUE(hasTyped("b"));
}

}  // namespace
}  // namespace vesk::portal::input::VESK_FILE
