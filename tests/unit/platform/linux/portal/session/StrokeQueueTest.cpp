#include "platform/linux/portal/session/StrokeQueue.h"

#include <gtest/gtest.h>

#include "platform/SystemClock.h"

namespace vesk::portal::session::VESK_FILE {
namespace {

Stroke key(std::int32_t code, bool isDown) {
  return {.kind = Stroke::Kind::key, .code = code, .isDown = isDown};
}

Stroke motion(double x) { return {.kind = Stroke::Kind::motion, .place = {x, 0}}; }

class StrokeQueueTest : public ::testing::Test {
 protected:
  /// What goes out, each answered at once.
  std::vector<Stroke> sent() {
    std::vector<Stroke> all;
    while (const auto stroke = queue.take(session)) {
      all.push_back(*stroke);
      queue.answered(session);
    }
    return all;
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

TEST_F(StrokeQueueTest, HoldsNothingInTheNextSession) {
  queue.push(key(30, true));
  EXPECT_EQ(sent().size(), 1U);
  session = queue.open(std::nullopt, [] {});
  queue.push(key(30, false));
  queue.push(key(30, true));
  EXPECT_EQ(sent(), std::vector{key(30, true)});
}

}  // namespace
}  // namespace vesk::portal::session::VESK_FILE
