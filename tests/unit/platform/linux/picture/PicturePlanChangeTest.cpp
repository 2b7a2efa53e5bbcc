#include <gtest/gtest.h>

#include "platform/linux/picture/BitCost.h"
#include "platform/linux/picture/PicturePlan.h"

/// Single decisions about changes, and about what was left coarse.

namespace vesk::picture {
namespace {

using namespace std::chrono_literals;
using Action = PicturePlan::Action;
using Decision = PicturePlan::Decision;
using Tick = PicturePlan::Tick;

constexpr std::size_t macroblocks = 8160;
constexpr double mostBits = 783'000.0 * 8;

class PicturePlanChangeTest : public ::testing::Test {
 protected:
  PicturePlanChangeTest() { begin(4'000'000); }

  void begin(std::int64_t bitRate) {
    plan = PicturePlan(macroblocks, mostBits, {});
    rate = static_cast<double>(bitRate);
    auto key = tickOf(macroblocks);
    key.keyFrame = true;
    send(key, 0.5 * rate);
    idle(60);
  }

  Tick tickOf(std::size_t changed, std::size_t coarse = 0, int coarseQuantiser = 0) const {
    Tick tick;
    tick.changed = changed;
    tick.coarse = coarse;
    tick.coarseQuantiser = coarseQuantiser;
    tick.elapsed = 33'333'333ns;
    tick.untilKey = 3s;
    tick.bitRate = static_cast<std::int64_t>(rate);
    return tick;
  }

  Decision send(const Tick& tick, double bits) {
    const auto decision = plan.next(tick);
    plan.sent(decision, bits, 30);
    return decision;
  }

  void idle(int ticks) {
    for (int i = 0; i < ticks; ++i) send(tickOf(0), 0);
  }

  /// The link is held up by something that the plan learns nothing of.
  void holdUp(double seconds) { plan.sent({.action = Action::skip}, seconds * rate, 0); }

  /// Something that had left by then, and still counts among what was sent of late.
  void sendEarlier(double seconds) {
    holdUp(seconds);
    auto tick = tickOf(0);
    tick.elapsed = 2600ms;
    send(tick, 0);
  }

  PicturePlan plan{macroblocks, mostBits, {}};
  double rate = 0;
};

TEST_F(PicturePlanChangeTest, NobodyWaitsForMoreThanASecondOrTwoOnASlowLink) {
  for (const std::int64_t bitRate : {300'000, 999'000, 1'000'000, 1'500'000, 4'000'000}) {
    begin(bitRate);
    const double most = bitRate < 1'000'000 ? 2 : 1;
    EXPECT_LE(plan.next(tickOf(20)).mostBits / rate, most) << bitRate;
    EXPECT_GE(plan.next(tickOf(20)).mostBits / rate, 0.9 * most) << bitRate;
    send(tickOf(20), 0.5 * rate);
    EXPECT_LE(plan.next(tickOf(20)).mostBits / rate, most - 0.4) << bitRate;
  }
}

TEST_F(PicturePlanChangeTest, WaitsWhereTheLinkIsFarBehindAndLooksFarForItAfterwards) {
  EXPECT_FALSE(send(tickOf(macroblocks), 1000).searchesFar);
  send(tickOf(macroblocks), rate);
  const auto held = send(tickOf(macroblocks), 88);
  EXPECT_EQ(held.action, Action::hold);
  EXPECT_FALSE(held.keyFrame);
  EXPECT_EQ(held.refined, 0U);
  idle(60);
  auto late = tickOf(macroblocks);
  send(late, rate);
  EXPECT_EQ(send(late, 88).action, Action::hold);
  late.elapsed = 3s;
  const auto next = send(late, 1000);
  EXPECT_EQ(next.action, Action::encode);
  EXPECT_TRUE(next.searchesFar);
  EXPECT_FALSE(send(tickOf(macroblocks), 1000).searchesFar);
}

TEST_F(PicturePlanChangeTest, LooksFarForWhatMovesBehindAKeyFrame) {
  auto key = tickOf(macroblocks);
  key.keyFrame = true;
  send(key, 1000);
  EXPECT_TRUE(send(tickOf(macroblocks), 1000).searchesFar);
  EXPECT_FALSE(send(tickOf(macroblocks), 1000).searchesFar);
}

TEST_F(PicturePlanChangeTest, LearnsWhatSmallChangesTake) {
  const auto first = plan.next(tickOf(600));
  ASSERT_EQ(first.macroblocks, 600U);
  plan.sent(first, 2 * first.wantedBits, 0);
  idle(60);
  const auto coarser = plan.next(tickOf(600));
  EXPECT_GT(coarser.quantiser, first.quantiser);
  plan.sent(coarser, coarser.wantedBits / 10, 0);
  idle(60);
  EXPECT_LT(plan.next(tickOf(600)).quantiser, coarser.quantiser);
}

TEST_F(PicturePlanChangeTest, LearnsOfAFewOnlyWhereTheLinkHasNoRoomForThem) {
  const int usual = send(tickOf(600), 0).quantiser;
  begin(4'000'000);
  for (int i = 0; i < 5; ++i) send(tickOf(2), 0.9 * rate / 30);
  idle(60);
  EXPECT_EQ(plan.next(tickOf(600)).quantiser, usual);
  begin(4'000'000);
  for (int i = 0; i < 5; ++i) {
    send(tickOf(2), 0.25 * rate);
    idle(10);
  }
  EXPECT_GT(plan.next(tickOf(600)).quantiser, usual);
}

TEST_F(PicturePlanChangeTest, EncodesASmallChangeNoBetterThanThePageIs) {
  EXPECT_EQ(plan.next(tickOf(1)).quantiser, PicturePlan::goodQuantiser);
}

TEST_F(PicturePlanChangeTest, TakesMoreThanAnEighthOfThePictureForMovement) {
  EXPECT_EQ(plan.next(tickOf(macroblocks / 8)).quantiser, PicturePlan::goodQuantiser);
  begin(4'000'000);
  EXPECT_GT(plan.next(tickOf(macroblocks / 8 + 1)).quantiser, PicturePlan::readableQuantiser);
}

TEST_F(PicturePlanChangeTest, GoesOnFromTheKeyFrameWhenMovementBegins) {
  auto key = tickOf(macroblocks);
  key.keyFrame = true;
  const int quantiser = send(key, 0.3 * rate).quantiser;
  ASSERT_LT(quantiser, 45);
  idle(60);
  const int first = send(tickOf(macroblocks), 1000).quantiser;
  EXPECT_LE(first, quantiser + 2);
  EXPECT_GE(first, quantiser - 5);
}

/// Steps of the quantiser show, and the next picture may be as it was before.
TEST_F(PicturePlanChangeTest, MakesNoMoreOfOneCheapPictureThanItIs) {
  Decision last;
  for (int i = 0; i < 20; ++i) last = send(tickOf(macroblocks), rate / 30);
  ASSERT_GT(last.quantiser, 20);
  last = send(tickOf(macroblocks), 88);
  const auto next = plan.next(tickOf(macroblocks));
  EXPECT_GE(next.quantiser, last.quantiser - 5);
}

TEST_F(PicturePlanChangeTest, MakesWhatStandsStillBetterBesidesWhatMoves) {
  const auto besides = [&](std::size_t coarse, int quantiser) {
    begin(4'000'000);
    for (int i = 0; i < 60; ++i) send(tickOf(macroblocks / 2), 5000);
    return plan.next(tickOf(macroblocks / 2, coarse, quantiser));
  };
  const auto much = besides(1000, 51);
  ASSERT_LT(much.quantiser, 46);
  EXPECT_GT(much.refined, 0U);
  EXPECT_LE(much.refined, 1000U);
  EXPECT_EQ(besides(1, 51).refined, 1U);
  EXPECT_EQ(besides(0, 51).refined, 0U);
  const std::size_t some = besides(4000, 51).refined;
  EXPECT_GT(some, 100U);
  EXPECT_LT(some, 4000U) << "as much as the link takes";
  EXPECT_EQ(besides(1000, much.quantiser + 3).refined, 0U) << "that would hardly show";
}

TEST_F(PicturePlanChangeTest, MakesNothingBetterBesidesThatAKeyFrameIsAboutToUndo) {
  const auto refined = [&](std::chrono::nanoseconds untilKey) {
    auto tick = tickOf(3000, 1000, 51);
    tick.untilKey = untilKey;
    return plan.next(tick).refined;
  };
  EXPECT_GT(refined(500ms), 0U);
  EXPECT_EQ(refined(290ms), 0U);
}

/// Three seconds that are full of changes leave the key frame its room.
TEST_F(PicturePlanChangeTest, MakesNothingBetterBesidesWithTheBitsOfAKeyFrame) {
  for (int i = 0; i < 100; ++i) send(tickOf(3000), 0.97 * rate / 30);
  const auto refined = [&](std::chrono::nanoseconds untilKey) {
    auto tick = tickOf(3000, 4000, 51);
    tick.untilKey = untilKey;
    return PicturePlan(plan).next(tick).refined;
  };
  EXPECT_LT(refined(400ms), refined(3500ms));
}

/// What waits has to leave again, the sooner the more it is.
TEST_F(PicturePlanChangeTest, TakesTheLessOfTheLinkTheFurtherItIsBehind) {
  const auto wanted = [&](double behind) {
    begin(4'000'000);
    for (int i = 0; i < 60; ++i) send(tickOf(macroblocks), 0.95 * rate / 30);
    holdUp(behind);
    const auto next = plan.next(tickOf(macroblocks));
    EXPECT_EQ(next.action, Action::encode);
    return next.wantedBits / (rate / 30);
  };
  EXPECT_GT(wanted(0.27), 0.8);
  EXPECT_LE(wanted(0.27), 0.92);
  EXPECT_GT(wanted(0.36), 0.5);
  EXPECT_LE(wanted(0.36), 0.8);
  EXPECT_LE(wanted(0.48), 0.5);
}

/// What a finer picture takes is not known until one was made.
TEST_F(PicturePlanChangeTest, MakesMovementThatTakesLittleFinerStepByStep) {
  begin(1'000'000);
  int before = send(tickOf(macroblocks), 1000).quantiser;
  ASSERT_GT(before, 30);
  for (int i = 0; i < 8; ++i) {
    const int next = send(tickOf(macroblocks), 0.4 * rate / 30).quantiser;
    EXPECT_EQ(next, before - 1) << i;
    before = next;
  }
}

TEST_F(PicturePlanChangeTest, BecomesNoFinerWhereTheNextKeyFrameNeedsTheRoom) {
  const auto step = [&](double sentEarlier) {
    begin(4'000'000);
    Decision last;
    for (int i = 0; i < 60; ++i) last = send(tickOf(macroblocks), rate / 30);
    for (int i = 0; i < 3; ++i) last = send(tickOf(macroblocks), 0.6 * rate / 30);
    sendEarlier(sentEarlier);
    auto next = tickOf(macroblocks);
    next.untilKey = 300ms;
    return plan.next(next).quantiser - last.quantiser;
  };
  EXPECT_LT(step(0.1), -1);
  EXPECT_GE(step(2.6), -1);
}

TEST_F(PicturePlanChangeTest, MakesOnlySoMuchBetterBesidesAsTheMovementLeaves) {
  auto key = tickOf(macroblocks);
  key.keyFrame = true;
  const int keyQuantiser = send(key, 0.5 * rate).quantiser;
  BitCost cost(130, 1);
  cost.learn(macroblocks, keyQuantiser, 0.5 * rate);
  idle(60);
  for (int i = 0; i < 60; ++i) send(tickOf(macroblocks / 2), 5000);
  send(tickOf(macroblocks / 2), 0.06 * rate);
  idle(5);
  const auto next = plan.next(tickOf(macroblocks / 2, 4000, 51));
  ASSERT_GT(next.wantedBits, 0.02 * rate);
  const double better = cost.of(next.refined, next.quantiser) - cost.of(next.refined, 51);
  EXPECT_LE(1.1 * better + next.wantedBits, 0.3 * rate);
}

/// What has moved too far meanwhile is dear, once.
TEST_F(PicturePlanChangeTest, LearnsNothingOfOtherPicturesFromOneBehindAGap) {
  const auto after = [&](double seconds) {
    begin(4'000'000);
    for (int i = 0; i < 60; ++i) send(tickOf(macroblocks), 0.8 * rate / 30);
    holdUp(1);
    EXPECT_EQ(send(tickOf(macroblocks), 88).action, Action::hold);
    auto late = tickOf(macroblocks);
    late.elapsed = 2s;
    EXPECT_EQ(send(late, seconds * rate).action, Action::encode);
    idle(90);
    return plan.next(tickOf(macroblocks)).wantedBits;
  };
  EXPECT_NEAR(after(0.3), after(0.03), 0.002 * rate);
}

TEST_F(PicturePlanChangeTest, HasNoMoreRoomAfterAStallThanAfterAnyRest) {
  auto late = tickOf(20);
  late.elapsed = 3s;
  EXPECT_LE(plan.next(late).wantedBits, 0.3 * rate + 1);
}

TEST_F(PicturePlanChangeTest, LetsASmallChangeBeTwiceAsLargeAsItWasMeantOnABusyLink) {
  holdUp(0.94);
  const auto next = plan.next(tickOf(20));
  ASSERT_EQ(next.action, Action::encode);
  EXPECT_DOUBLE_EQ(next.mostBits, 2 * next.wantedBits);
}

class PicturePlanRefinementTest : public PicturePlanChangeTest {};

TEST_F(PicturePlanRefinementTest, BeginsOnceNothingHasChangedForTwoPictures) {
  send(tickOf(1), 1000);
  EXPECT_EQ(send(tickOf(0, 50, 40), 88).action, Action::skip);
  const auto better = plan.next(tickOf(0, 50, 40));
  EXPECT_EQ(better.action, Action::encode);
  EXPECT_EQ(better.refined, 50U);
  EXPECT_EQ(better.macroblocks, 50U);
  EXPECT_EQ(better.refinedFrom, 40);
}

TEST_F(PicturePlanRefinementTest, GoesOnInStepsUntilThePageIsGood) {
  const auto first = plan.next(tickOf(0, 50, 40));
  EXPECT_LE(first.quantiser, 34);
  EXPECT_GE(first.quantiser, 28);
  const auto last = plan.next(tickOf(0, 50, PicturePlan::goodQuantiser + 3));
  EXPECT_EQ(last.action, Action::encode);
  EXPECT_EQ(last.quantiser, PicturePlan::goodQuantiser);
  EXPECT_EQ(plan.next(tickOf(0, 50, PicturePlan::goodQuantiser + 2)).action, Action::skip);
  EXPECT_EQ(plan.next(tickOf(0, 0, 0)).action, Action::skip);
  EXPECT_EQ(plan.next(tickOf(0, 1, 40)).refined, 1U);
}

TEST_F(PicturePlanRefinementTest, IsNotBegunWhereAKeyFrameIsAboutToUndoIt) {
  auto tick = tickOf(0, 50, 40);
  tick.untilKey = 250ms;
  EXPECT_EQ(plan.next(tick).action, Action::skip);
  tick.untilKey = 500ms;
  EXPECT_EQ(plan.next(tick).action, Action::encode);
}

TEST_F(PicturePlanRefinementTest, TakesNoMoreThanTheLinkDoesSoon) {
  const auto part = plan.next(tickOf(0, macroblocks, 36));
  EXPECT_EQ(part.action, Action::encode);
  EXPECT_GT(part.refined, 0U);
  EXPECT_LT(part.refined, macroblocks);
  EXPECT_LE(part.wantedBits, 0.34 * rate + 1);
  EXPECT_GE(part.wantedBits, 0.25 * rate) << "few large pictures rather than many small ones";
  plan.sent(part, part.wantedBits, 0);
  EXPECT_EQ(plan.next(tickOf(0, macroblocks - part.refined, 36)).action, Action::skip);
}

TEST_F(PicturePlanRefinementTest, ComesWithASmallChange) {
  const auto both = plan.next(tickOf(10, 50, 40));
  EXPECT_EQ(both.refined, 50U);
  EXPECT_EQ(both.macroblocks, 60U);
  EXPECT_GT(both.wantedBits, plan.next(tickOf(0, 50, 40)).wantedBits) << "the change takes its own";
}

TEST_F(PicturePlanRefinementTest, LeavesTheNextKeyFrameItsRoom) {
  auto tick = tickOf(0, macroblocks, 51);
  const auto early = plan.next(tick);
  // The window from now on takes in the key frame.
  send(tickOf(0), 2.5 * rate);
  tick.elapsed = 2500ms;
  tick.untilKey = 400ms;
  const auto late = plan.next(tick);
  EXPECT_EQ(early.action, Action::encode);
  EXPECT_EQ(late.action, Action::skip);
}

TEST_F(PicturePlanRefinementTest, TakesTheLessTheMoreComesWithIt) {
  const auto both = plan.next(tickOf(300, macroblocks - 300, 36));
  EXPECT_GT(both.refined, 0U);
  EXPECT_LE(both.wantedBits, 0.34 * rate + 1);
}

/// What is left of a page is not put off.
TEST_F(PicturePlanRefinementTest, NeedsNoRoomForMoreThanIsLeft) {
  holdUp(0.2);
  EXPECT_EQ(plan.next(tickOf(0, 10, 40)).refined, 10U);
  EXPECT_EQ(plan.next(tickOf(0, macroblocks, 40)).action, Action::skip);
}

/// A page of little is soon there again, so that more may be spent on it before.
TEST_F(PicturePlanRefinementTest, LeavesAKeyFrameNoMoreRoomThanItTakes) {
  const auto late = [&](double keySeconds, double sentSeconds) {
    begin(4'000'000);
    auto key = tickOf(macroblocks);
    key.keyFrame = true;
    key.elapsed = 4s;
    send(key, keySeconds * rate);
    idle(90);
    sendEarlier(sentSeconds);
    auto tick = tickOf(0, 2000, 45);
    tick.untilKey = 350ms;
    return plan.next(tick).action;
  };
  EXPECT_EQ(late(0.02, 2.5), Action::encode);
  EXPECT_EQ(late(0.5, 2.5), Action::skip);
  EXPECT_EQ(late(0.5, 2.1), Action::encode);
}

/// What is as it was expected teaches nothing.
TEST_F(PicturePlanRefinementTest, StaysWithWhatTurnsOutAsItWasMeant) {
  for (const std::size_t changed : {std::size_t{0}, std::size_t{900}}) {
    begin(4'000'000);
    const auto each = [&] {
      const auto next = plan.next(tickOf(0, 1000, 40));
      return next.wantedBits / static_cast<double>(next.refined);
    };
    const double before = each();
    const auto first = plan.next(tickOf(changed, 1000, 40));
    ASSERT_GE(first.refined, 200U);
    plan.sent(first, first.wantedBits, 0);
    idle(60);
    EXPECT_NEAR(each() / before, 1, 0.02) << changed;
  }
}

TEST_F(PicturePlanRefinementTest, LearnsWhatTakesMoreThanItWasExpectedTo) {
  const auto after = [&](double factor) {
    begin(4'000'000);
    const auto first = plan.next(tickOf(0, 1000, 40));
    EXPECT_GE(first.refined, 200U);
    plan.sent(first, factor * first.wantedBits, 0);
    idle(60);
    return plan.next(tickOf(0, 1000, 40));
  };
  const auto usual = after(1);
  EXPECT_GT(after(3).wantedBits / static_cast<double>(after(3).refined),
            1.3 * usual.wantedBits / static_cast<double>(usual.refined));
}

}  // namespace
}  // namespace vesk::picture
