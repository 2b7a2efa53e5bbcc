#include <gtest/gtest.h>

#include "platform/linux/picture/BitCost.h"
#include "support/SinglePlanTest.h"

/// Single decisions about changes.

namespace vesk::picture::VESK_FILE {
namespace {

using namespace std::chrono_literals;

class PicturePlanChangeTest : public testing::SinglePlanTest {};

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

}  // namespace
}  // namespace vesk::picture::VESK_FILE
