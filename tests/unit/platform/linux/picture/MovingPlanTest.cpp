#include <gtest/gtest.h>

#include "platform/linux/picture/BitCost.h"
#include "support/SinglePlanTest.h"

/// Single decisions where much has only moved.

namespace vesk::picture::VESK_FILE {
namespace {

using namespace std::chrono_literals;

constexpr double share = 4e6 / 30;  ///< what the link takes from one picture to the next

class MovingPlanTest : public testing::SinglePlanTest {
 protected:
  MovingPlanTest() { idle(40); }

  Tick tick() const {
    Tick next = tickOf(0);
    next.mostPieces = 60;
    return next;
  }

  /// Of what moves, so much is new, and so good is the rest.
  Tick moving(std::size_t left, int quantiser) const {
    Tick next = tick();
    next.changed = 6000;
    next.pieces = 68;
    next.moved = PicturePlan::Moved{left, 4, quantiser, 0, 0, 6000};
    return next;
  }

  Tick changed(std::size_t count) const {
    Tick next = tick();
    next.changed = count;
    next.pieces = 4;
    return next;
  }

  Tick key() const {
    Tick next = tick();
    next.changed = macroblocks;
    next.keyFrame = true;
    return next;
  }
};

TEST_F(MovingPlanTest, MakesWhatIsNewNoBetterThanThePageIs) {
  const auto decision = plan.next(moving(1, 17));
  ASSERT_TRUE(decision.moves);
  EXPECT_EQ(decision.quantiser, PicturePlan::goodQuantiser);
}

TEST_F(MovingPlanTest, NeedsNoMoreThanOnePiece) {
  Tick one = moving(20, 17);
  one.moved->pieces = one.mostPieces = 1;
  const auto decision = plan.next(one);
  EXPECT_TRUE(decision.moves);
  EXPECT_TRUE(decision.composed);
}

TEST_F(MovingPlanTest, LeavesAsMuchAsASmallChangeIs) {
  EXPECT_TRUE(plan.next(moving(macroblocks / 8, 17)).moves);
  EXPECT_FALSE(plan.next(moving(macroblocks / 8 + 1, 17)).moves);
}

/// A macroblock that holds a part of what has moved is cheaper then, which good ones need not be.
TEST_F(MovingPlanTest, LooksFarForWhatIsNewWhereBitsAreScarce) {
  EXPECT_FALSE(send(moving(1, 17), 0).searchesFar);
  const auto scarce = plan.next(moving(1000, 17));
  ASSERT_TRUE(scarce.moves);
  ASSERT_GT(scarce.quantiser, PicturePlan::goodQuantiser);
  EXPECT_TRUE(scarce.searchesFar);
}

TEST_F(MovingPlanTest, IsNoReasonForAKeyFrameThatIsFinerThanWhatMoves) {
  send(moving(20, 25), 0);
  send(moving(20, 25), 0);
  send(moving(20, 45), 0.5 * rate);
  send(moving(20, 45), 0);
  EXPECT_EQ(plan.next(key()).finest, 45);
}

TEST_F(MovingPlanTest, GoesOnFromAPageThatWasMadeBetterAnew) {
  const auto anew = send(moving(20, 50), 0.1 * rate);
  ASSERT_FALSE(anew.moves);
  EXPECT_EQ(plan.next(key()).finest, anew.quantiser);
}

/// The key frame will bring it.
TEST_F(MovingPlanTest, IsNotMadeBetterAnewWhereTheNextKeyFrameNeedsTheRoom) {
  EXPECT_FALSE(plan.next(moving(20, 45)).moves);
  sendEarlier(2.6);
  Tick late = moving(20, 45);
  late.untilKey = 350ms;
  EXPECT_TRUE(plan.next(late).moves);
}

/// What has only moved takes what it lacks, and what is new takes all.
TEST_F(MovingPlanTest, CountsWhatIsNewWhenAPageIsMadeBetterAnew) {
  constexpr std::size_t left = 1000;
  const auto anew = plan.next(moving(left, 50));
  ASSERT_FALSE(anew.moves);
  BitCost whole(130, 1);
  whole.learn(macroblocks, pageQuantiser, 0.5 * rate);
  const std::size_t old = macroblocks - left;
  const double better = whole.of(old, anew.quantiser) - whole.of(old, 50);
  EXPECT_NEAR(anew.wantedBits, 1.15 * better + BitCost(130, 0.5).of(left, anew.quantiser), 1);
  EXPECT_LE(anew.wantedBits, 0.3 * rate);
}

TEST_F(MovingPlanTest, LearnsNothingOfSmallChangesFromAPageThatIsMadeAnew) {
  const int usual = plan.next(changed(900)).quantiser;
  const auto anew = plan.next(moving(20, 50));
  ASSERT_FALSE(anew.moves);
  plan.sent(anew, 5 * anew.wantedBits, 0);
  idle(150);
  EXPECT_EQ(plan.next(changed(900)).quantiser, usual);
}

TEST_F(MovingPlanTest, LearnsOfSmallChangesFromWhatIsNewEvenAfterMovement) {
  const int usual = plan.next(changed(900)).quantiser;
  for (int i = 0; i < 3; ++i) send(changed(macroblocks), 1000);
  const auto decision = plan.next(moving(500, 17));
  ASSERT_TRUE(decision.moves);
  plan.sent(decision, 2 * decision.wantedBits, 0);
  idle(150);
  EXPECT_GT(plan.next(changed(900)).quantiser, usual);
}

/// Each picture takes its part of what there is until the next key frame.
TEST_F(MovingPlanTest, SharesWhatIsLeftAmongThePicturesUntilTheNextKeyFrame) {
  sendEarlier(2.55);
  Tick next = moving(200, 17);
  next.untilKey = 250ms;
  send(next, 0);
  const auto decision = plan.next(next);
  ASSERT_TRUE(decision.moves);
  EXPECT_GT(decision.wantedBits, 0.35 * share);
  EXPECT_LT(decision.wantedBits, 0.6 * share);
}

/// Even after a rest, if what the link can take at once is less than what is new.
TEST_F(MovingPlanTest, WaitsWhereWhatIsNewWouldHoldTheLinkUp) {
  Tick much = moving(1000, 17);
  much.bitRate = 100'000;
  EXPECT_EQ(plan.next(much).action, Action::hold);
  much.bitRate = 200'000;
  EXPECT_EQ(plan.next(much).action, Action::encode);
}

}  // namespace
}  // namespace vesk::picture::VESK_FILE
