#include "platform/linux/portal/session/StrokeQueue.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include "platform/SystemClock.h"
#include "support/TemporaryFolder.h"

namespace vesk::portal::session::VESK_FILE {
namespace {

Stroke key(std::int32_t code, bool isDown) {
  return {.kind = Stroke::Kind::key, .code = code, .isDown = isDown};
}

Stroke motion(double x) { return {.kind = Stroke::Kind::motion, .place = {x, 0}}; }

Stroke button(std::int32_t code, bool isDown) {
  return {.kind = Stroke::Kind::button, .code = code, .isDown = isDown};
}

Stroke symbol(std::int32_t code, bool isDown) {
  return {.kind = Stroke::Kind::symbol, .code = code, .isDown = isDown};
}

/// Where records of what is held have a place of their own.
class RuntimeFolder {
 public:
  RuntimeFolder() {
    ::setenv("XDG_RUNTIME_DIR", folder_.path().c_str(), 1);
    ::setenv("WAYLAND_DISPLAY", "wayland-7", 1);
  }

 private:
  testing::TemporaryFolder folder_;
};

class StrokeQueueTest : public ::testing::Test, private RuntimeFolder {
 protected:
  /// What goes out, each answered at once.
  std::vector<Stroke> sent() { return sent(queue, session); }

  static std::vector<Stroke> sent(StrokeQueue& from, std::uint64_t to) {
    std::vector<Stroke> all;
    while (const auto stroke = from.take(to)) {
      all.push_back(*stroke);
      from.answered(to);
    }
    return all;
  }

  void holdOneOfEach() {
    for (const auto& stroke : {key(30, true), button(272, true), symbol(0x20ac, true)})
      queue.push(stroke);
    ASSERT_EQ(sent().size(), 3U);
  }

  SystemClock clock;
  InputGate gate{clock};
  StrokeQueue queue{gate};
  int woken = 0;
  std::uint64_t session = queue.open(std::nullopt, [this] { ++woken; });
};

TEST_F(StrokeQueueTest, GivesOneAtATime) {
  queue.push(key(30, true));
  EXPECT_EQ(woken, 1);
  EXPECT_EQ(queue.take(session), key(30, true));
  queue.push(key(30, false));
  EXPECT_EQ(queue.take(session), std::nullopt);
  EXPECT_EQ(woken, 1) << "the answer will";
  EXPECT_FALSE(queue.settle(std::chrono::milliseconds(1)));
  queue.answered(session);
  EXPECT_EQ(queue.take(session), key(30, false));
  queue.answered(session);
  EXPECT_TRUE(queue.settle(std::chrono::milliseconds(1)));
}

TEST_F(StrokeQueueTest, KeepsTheOrderAndTheLastOfSeveralPlaces) {
  queue.push(motion(1));
  queue.push(motion(2));
  queue.push(key(30, true));
  queue.push(motion(3));
  EXPECT_EQ(sent(), (std::vector{motion(2), key(30, true), motion(3)}));
}

TEST_F(StrokeQueueTest, DropsAStepWithThePlaceThatItWasFrom) {
  const Stroke step{.kind = Stroke::Kind::step, .place = {5, 5}};
  queue.push(motion(1));
  queue.push(step);
  queue.push(motion(2));
  queue.push(step);
  EXPECT_EQ(sent(), (std::vector{motion(2), step}));
  queue.push(motion(3));
  queue.push(step);
  ASSERT_EQ(queue.take(session), motion(3));
  queue.push(motion(4));
  queue.answered(session);
  EXPECT_EQ(sent(), std::vector{motion(4)});
}

TEST_F(StrokeQueueTest, LetsGoOfWhatWentOutAndDropsTheRest) {
  queue.push(key(30, true));
  EXPECT_EQ(sent().size(), 1U);
  queue.push(key(31, true));
  queue.letGo();
  EXPECT_EQ(sent(), std::vector{key(30, false)});
  queue.push(key(31, false));
  EXPECT_TRUE(sent().empty()) << "it never was down";
}

TEST_F(StrokeQueueTest, PressesNothingWhileTheGateIsShut) {
  queue.push(key(30, true));
  EXPECT_EQ(sent().size(), 1U);
  queue.push(key(31, true));
  queue.push(motion(1));
  queue.push(key(30, false));
  gate.close();
  EXPECT_EQ(sent(), std::vector{key(30, false)});
}

TEST_F(StrokeQueueTest, PressesNothingTwice) {
  queue.push(key(30, true));
  queue.push(key(30, true));
  EXPECT_EQ(sent().size(), 1U);
}

TEST_F(StrokeQueueTest, LetsGoOfEverythingWhereTooMuchWaits) {
  queue.push(key(30, true));
  EXPECT_EQ(sent().size(), 1U);
  const auto age = queue.age();
  for (std::size_t i = 0; i <= StrokeQueue::capacity; ++i)
    queue.push({.kind = Stroke::Kind::wheel, .code = 1});
  EXPECT_NE(queue.age(), age);
  EXPECT_EQ(sent(), (std::vector{key(30, false), {.kind = Stroke::Kind::wheel, .code = 1}}));
}

TEST_F(StrokeQueueTest, TakesNothingWithoutASession) {
  queue.push(key(30, true));
  queue.close(session);
  EXPECT_FALSE(queue.isOpen());
  EXPECT_TRUE(queue.settle(std::chrono::milliseconds(1)));
  queue.push(key(31, true));
  queue.letGo();
  EXPECT_TRUE(sent().empty());
}

TEST_F(StrokeQueueTest, BelongsToTheLatestSession) {
  const auto next = queue.open(Rect{{0, 0}, 100, 100}, [] {});
  queue.close(session);
  EXPECT_TRUE(queue.isOpen());
  queue.push(key(30, true));
  EXPECT_EQ(queue.take(session), std::nullopt);
  EXPECT_EQ(queue.take(next), key(30, true));
}

TEST_F(StrokeQueueTest, TellsWhatIsDownAtItsEnd) {
  holdOneOfEach();
  EXPECT_TRUE(queue.close(session + 1).empty()) << "another session";
  const auto down = queue.close(session);
  EXPECT_EQ(down, (std::vector{button(272, false), key(30, false), symbol(0x20ac, false)}));
  EXPECT_TRUE(queue.close(session).empty()) << "told once";
}

TEST_F(StrokeQueueTest, LetsGoFirstOfWhatTheLastSessionLeftDown) {
  holdOneOfEach();
  for (const auto& stroke : queue.close(session)) {
    if (stroke.kind != Stroke::Kind::button) queue.wasLetGo(stroke);
  }
  session = queue.open(std::nullopt, [this] { ++woken; });
  queue.push(key(31, true));
  EXPECT_EQ(sent(), (std::vector{button(272, false), key(31, true)}));
}

TEST_F(StrokeQueueTest, LetsGoFirstOfWhatAPredecessorLeftDown) {
  holdOneOfEach();
  StrokeQueue successor(gate);
  int calls = 0;
  auto next = successor.open(std::nullopt, [&calls] { ++calls; });
  EXPECT_EQ(calls, 1);
  EXPECT_EQ(sent(successor, next),
            (std::vector{button(272, false), key(30, false), symbol(0x20ac, false)}));
  // Nothing is left for another one.
  successor.close(next);
  next = successor.open(std::nullopt, [] {});
  EXPECT_TRUE(sent(successor, next).empty());
  StrokeQueue third(gate);
  EXPECT_TRUE(sent(third, third.open(std::nullopt, [] {})).empty());
}

TEST_F(StrokeQueueTest, PressesAnewInTheNextSessionWhatTheLastOneHeld) {
  queue.push(key(30, true));
  EXPECT_EQ(sent().size(), 1U);
  session = queue.open(std::nullopt, [] {});
  queue.push(key(30, false));
  queue.push(key(30, true));
  EXPECT_EQ(sent(), (std::vector{key(30, false), key(30, true)}));
}

}  // namespace
}  // namespace vesk::portal::session::VESK_FILE
