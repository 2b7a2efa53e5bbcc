#include <csignal>

#include "support/XServer.h"
#include "unit/platform/linux/portal/input/PosterFixture.h"
#include "unit/platform/linux/portal/session/AskedDesktop.h"

namespace vesk::portal::input::VESK_FILE {
namespace {

class PortalEventPosterEndsTest : public PosterFixtureOn<session::AskedDesktop> {};

TEST_F(PortalEventPosterEndsTest, LetsGoOfEverythingWhenTheGateCloses) {
  hold();
  ASSERT_TRUE(isHeld());
  gate.close();
  EXPECT_TRUE(isFree());
  window->forget();
  release(0x00);
  mouse(EventType::leftMouseUp, {100, 100});
  strike(0x00);
  type(u"x");
  move({7, 7});
  gate.open();
  strike(0x0B);
  EXPECT_TRUE(hasTyped("b"));
  EXPECT_EQ(window->seen().count("button"), 0U);
  EXPECT_EQ(window->seen().count("motion"), 0U);
}

TEST_F(PortalEventPosterEndsTest, LetsGoOfEverythingWhenInputEnds) {
  hold();
  ASSERT_TRUE(isHeld());
  endInput();
  EXPECT_TRUE(isFree());
  strike(0x00);
  EXPECT_TRUE(window->waitFor([](const auto& seen) { return seen.text == "Aa"; }));
}

TEST_F(PortalEventPosterEndsTest, IsLetGoOfByTheEndOfTheSession) {
  hold();
  ASSERT_TRUE(isHeld());
  session.reset();
  EXPECT_TRUE(isFree());
  strike(0x00);
  move({5, 5});
  window->settle();
  EXPECT_EQ(window->seen().count("key 30 down"), 1U) << "there is nobody to post to";
}

TEST_F(PortalEventPosterEndsTest, GoesOnInTheNextSession) {
  hold();
  ASSERT_TRUE(isHeld());
  session.reset();
  ASSERT_TRUE(isFree());
  grants.clear();
  ASSERT_TRUE(begin());
  window->forget();
  strike(0x0B);
  EXPECT_TRUE(hasTyped("b"));
}

TEST_F(PortalEventPosterEndsTest, IsLetGoOfWhenThePortalIsKilled) {
  hold();
  ASSERT_TRUE(isHeld());
  desktop.killPortal();
  EXPECT_TRUE(isFree());
}

TEST(PortalEventPosterOverflowTest, LeavesNothingDownThatFoundNoRoom) {
  SystemClock clock;
  InputGate gate(clock);
  const auto strokes = std::make_shared<session::StrokeQueue>(gate);
  const auto session = strokes->open(std::nullopt, [] {});
  const stream::WatchedDisplay watched;
  PortalEventPoster poster(gate, strokes, watched);
  std::set<std::int32_t> down;
  const auto sendAll = [&] {
    while (const auto stroke = strokes->take(session)) {
      strokes->answered(session);
      if (stroke->kind != session::Stroke::Kind::key) continue;
      stroke->isDown ? void(down.insert(stroke->code)) : void(down.erase(stroke->code));
    }
  };
  for (std::size_t i = 0; i < session::StrokeQueue::capacity; ++i)
    poster.post(ScrollEvent{.lines = 3});
  const auto post = [&](bool isDown) {
    poster.post(KeyboardEvent{.keyCode = 0x00,
                              .down = isDown,
                              .type = isDown ? EventType::keyDown : EventType::keyUp,
                              .flags = 0});
    sendAll();
  };
  post(true);
  EXPECT_EQ(down.size(), 1U);
  post(false);
  EXPECT_TRUE(down.empty());
}

/// Another program, which holds what a test ends it with.
class KilledProgramTest : public ::testing::TestWithParam<int>, protected session::AskedDesktop {};

TEST_P(KilledProgramTest, LeavesNothingDown) {
  testing::ChildProcess program({VESK_HOLDING_PORTAL}, desktop.environment());
  hand.moveTo(atItsEdge);
  ASSERT_TRUE(isAsked());
  approve();
  const bool isHeld = window->waitFor([](const auto& seen) {
    return seen.keys == std::set<std::uint32_t>{30, 42} && seen.buttons.size() == 1;
  });
  program.stop(GetParam());
  ASSERT_TRUE(isHeld);
  EXPECT_TRUE(window->waitFor([](const auto& seen) {
    return seen.keys.empty() && seen.buttons.empty() && seen.modifiers == "0 0 0 0";
  })) << "the compositor's own doing";
}

INSTANTIATE_TEST_SUITE_P(Signals, KilledProgramTest, ::testing::Values(SIGKILL, SIGTERM));

TEST_F(PortalEventPosterEndsTest, DoesNotWaitForAPortalThatHasStopped) {
  strike(0x00);
  ASSERT_TRUE(hasTyped("a"));
  ::kill(desktop.portalPid(), SIGSTOP);
  const auto begin = clock.hostTime();
  press(0x00);
  for (int i = 0; i < 500; ++i) type(u"Lorem ipsum dolor si");
  release(0x00);
  gate.close();
  gate.open();
  const auto taken = clock.hostTime() - begin;
  ::kill(desktop.portalPid(), SIGCONT);
  EXPECT_LT(taken, std::chrono::seconds(5));
  EXPECT_TRUE(isFree());
  EXPECT_TRUE(testing::waitUntil([&] {
    move({700, 5});
    return window->seen().pointer == Point{700, 5};
  }));
}

}  // namespace
}  // namespace vesk::portal::input::VESK_FILE
