#include <gtest/gtest.h>

#include "platform/linux/picture/BitCost.h"
#include "support/SinglePlanTest.h"

/// Single decisions about what was left coarse.

namespace vesk::picture::VESK_FILE {
namespace {

using namespace std::chrono_literals;

class PicturePlanRefinementTest : public testing::SinglePlanTest {};

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
}  // namespace vesk::picture::VESK_FILE
