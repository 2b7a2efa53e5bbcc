#include <gtest/gtest.h>

#include "platform/linux/picture/PicturePlan.h"

namespace vesk::picture::VESK_FILE {
namespace {

using namespace std::chrono_literals;
using Action = PicturePlan::Action;
using Decision = PicturePlan::Decision;
using Tick = PicturePlan::Tick;

constexpr std::size_t macroblocks = 8160;
constexpr std::int64_t rate = 4'000'000;
constexpr double keyBits = 2'000'000;

/// After a key frame of a page that takes half a second of the link.
class ComposingPlanTest : public ::testing::Test {
 protected:
  ComposingPlanTest() {
    Tick first = tick(0, 0);
    first.keyFrame = true;
    Decision key = plan.next(first);
    while (const auto other = plan.instead(key, keyBits)) key = *other;
    plan.sent(key, keyBits, 30);
    quantiser = key.quantiser;
  }

  static Tick tick(std::size_t changed, std::size_t pieces) {
    Tick next;
    next.changed = changed;
    next.pieces = pieces;
    next.mostPieces = 60;
    next.elapsed = 33'333'333ns;
    next.untilKey = 3s;
    next.bitRate = rate;
    return next;
  }

  /// Nothing but skipped pictures, until the link has taken all but so much of what was sent.
  void drain(double secondsLeft) {
    for (double waiting = keyBits / rate; waiting > secondsLeft; waiting -= 1.0 / 30) {
      Tick still = tick(0, 0);
      plan.sent(plan.next(still), 88, 0);
    }
  }

  Tick coarse(std::size_t changed = 0, std::size_t pieces = 0) const {
    Tick next = tick(changed, pieces);
    next.coarse = macroblocks - changed;
    next.coarseQuantiser = quantiser;
    return next;
  }

  PicturePlan plan{macroblocks, 783'000.0 * 8, {}};
  int quantiser = 0;
};

/// A page that is good already, of which next to nothing is new.
Tick scrolled(Tick tick) {
  tick.moved = PicturePlan::Moved{100, 4, 17, 0, 0, 6000};
  return tick;
}

TEST_F(ComposingPlanTest, ComposesASmallChange) {
  drain(0);
  const auto decision = plan.next(tick(4, 2));
  EXPECT_EQ(decision.action, Action::encode);
  EXPECT_TRUE(decision.composed);
}

TEST_F(ComposingPlanTest, ComposesNothingFromTooManyPieces) {
  drain(0);
  EXPECT_TRUE(plan.next(tick(200, 60)).composed);
  EXPECT_FALSE(plan.next(tick(200, 61)).composed);
}

TEST_F(ComposingPlanTest, ComposesNothingWhereAStreamMayHaveNoPieces) {
  drain(0);
  Tick one = tick(1, 1);
  one.mostPieces = 0;
  EXPECT_FALSE(plan.next(one).composed);
}

/// Much of it may only have moved, which pieces find less of.
TEST_F(ComposingPlanTest, EncodesAsAWholeWhatIsLarge) {
  drain(0);
  EXPECT_TRUE(plan.next(tick(macroblocks / 8, 20)).composed);
  EXPECT_FALSE(plan.next(tick(macroblocks / 8 + 1, 20)).composed);
}

TEST_F(ComposingPlanTest, ComposesNoKeyFrame) {
  Tick key = tick(1, 1);
  key.keyFrame = true;
  EXPECT_FALSE(plan.next(key).composed);
  drain(0);
  const auto decision = plan.next(tick(900, 20));
  ASSERT_TRUE(decision.composed);
  const auto other = plan.instead(decision, 7'000'000);
  ASSERT_TRUE(other) << "much too large";
  EXPECT_TRUE(other->keyFrame);
  EXPECT_FALSE(other->composed);
}

/// Pieces cost what they are worth, so there is no need to wait until many are due.
TEST_F(ComposingPlanTest, MakesAPageBetterInSmallPortions) {
  drain(0.2);
  const auto decision = plan.next(coarse());
  EXPECT_TRUE(decision.composed);
  EXPECT_GT(decision.refined, 0U);
  EXPECT_LE(decision.refined, 30 * PicturePlan::composedPiece) << "half of the pieces, and full";
  Tick whole = coarse();
  whole.mostPieces = 0;
  EXPECT_EQ(plan.next(whole).action, Action::skip) << "each costs as much as a whole picture";
  drain(0);
  const auto large = plan.next(whole);
  EXPECT_EQ(large.action, Action::encode);
  EXPECT_GT(large.refined, decision.refined);
}

/// Pieces do not keep up with a link that takes far more between two pictures.
TEST_F(ComposingPlanTest, MakesAPageBetterAsAWholeWherePicturesAreFarApart) {
  drain(0);
  Tick rare = coarse();
  rare.elapsed = 200ms;
  const auto decision = plan.next(rare);
  EXPECT_EQ(decision.action, Action::encode);
  EXPECT_FALSE(decision.composed);
  EXPECT_GT(decision.refined, 30 * PicturePlan::composedPiece);
}

TEST_F(ComposingPlanTest, MovesNothingWhereAStreamMayHaveNoPieces) {
  drain(0);
  Tick none = scrolled(tick(6000, 68));
  none.moved->pieces = 0;
  none.mostPieces = 0;
  EXPECT_FALSE(plan.next(none).moves);
}

TEST_F(ComposingPlanTest, MakesNothingBetterBesideAMoveThatTakesAllPieces) {
  drain(0);
  Tick full = scrolled(tick(4000, 68));
  full.moved->pieces = 60;
  full.moved->coarse = 3000;
  full.moved->coarseQuantiser = 40;
  const auto decision = plan.next(full);
  EXPECT_TRUE(decision.moves);
  EXPECT_EQ(decision.refined, 0U);
}

TEST_F(ComposingPlanTest, MakesAsMuchBetterBesidesAChangeAsThereArePiecesLeft) {
  drain(0);
  const auto few = plan.next(coarse(10, 56));
  EXPECT_TRUE(few.composed);
  EXPECT_LE(few.refined, 2 * PicturePlan::composedPiece);
  const auto nearlyAll = plan.next(coarse(macroblocks / 4 - 10, 4));
  EXPECT_LE(nearlyAll.refined, 10U);
}

TEST_F(ComposingPlanTest, GoesAlongWithAGoodPage) {
  drain(0);
  const auto decision = plan.next(scrolled(tick(6000, 68)));
  EXPECT_TRUE(decision.moves);
  EXPECT_TRUE(decision.composed);
  EXPECT_EQ(decision.macroblocks, 100U);
}

/// Once, where there is room to make all of it much better.
TEST_F(ComposingPlanTest, EncodesACoarsePageAnewInsteadOfMovingIt) {
  drain(0);
  Tick coarse = scrolled(tick(6000, 68));
  coarse.moved->quantiser = 40;
  const auto decision = plan.next(coarse);
  EXPECT_EQ(decision.action, Action::encode);
  EXPECT_FALSE(decision.moves);
  EXPECT_FALSE(decision.composed);
  EXPECT_LE(decision.quantiser, 35);
  EXPECT_TRUE(decision.searchesFar) << "nothing tells where it has moved";
  EXPECT_LE(decision.wantedBits, 0.3 * rate);
  coarse.untilKey = 290ms;
  EXPECT_TRUE(plan.next(coarse).moves) << "a key frame is about to undo it";
}

TEST_F(ComposingPlanTest, GoesAlongWithAPageThatCouldHardlyBeBetter) {
  drain(0);
  Tick good = scrolled(tick(6000, 68));
  good.moved->quantiser = PicturePlan::goodQuantiser + 4;
  EXPECT_TRUE(plan.next(good).moves);
  good.moved->quantiser = PicturePlan::goodQuantiser + 5;
  EXPECT_FALSE(plan.next(good).moves);
}

/// However coarse it is: whole pictures would make it worse.
TEST_F(ComposingPlanTest, GoesAlongWithACoarsePageWhileTheLinkIsBusy) {
  drain(0.2);
  Tick coarse = scrolled(tick(6000, 68));
  coarse.moved->quantiser = 40;
  EXPECT_TRUE(plan.next(coarse).moves);
}

/// What one picture has left out of it, all of the next ones would miss.
TEST_F(ComposingPlanTest, TakesNoMoreWithEachPictureOfAMoveThanTheLinkDoes) {
  drain(0);
  Tick next = scrolled(tick(6000, 68));
  const auto first = plan.next(next);
  ASSERT_TRUE(first.moves);
  EXPECT_GT(first.wantedBits, 2.0 * rate / 30) << "after a rest, what is new is good at once";
  plan.sent(first, first.wantedBits, 0);
  for (int i = 0; i < 60; ++i) {
    const auto decision = plan.next(next);
    ASSERT_TRUE(decision.moves);
    ASSERT_LE(decision.wantedBits, 1.0 * rate / 30) << i;
    plan.sent(decision, decision.wantedBits, 0);
  }
}

TEST_F(ComposingPlanTest, LeavesTheNextKeyFrameItsRoomInAMove) {
  drain(0);
  const auto wanted = [&](std::chrono::nanoseconds untilKey) {
    Tick next = scrolled(tick(6000, 68));
    next.untilKey = untilKey;
    const auto decision = plan.next(next);
    EXPECT_TRUE(decision.moves);
    plan.sent(decision, 1.0 * rate / 30, 0);
    return decision.wantedBits;
  };
  for (int i = 0; i < 100; ++i) wanted(4s);
  EXPECT_GT(wanted(4s), 0.7 * rate / 30);
  EXPECT_LT(wanted(300ms), 0.5 * rate / 30) << "three seconds are nearly full";
}

/// A picture as a whole finds more than one motion.
TEST_F(ComposingPlanTest, EncodesAsAWholeWhereMuchIsNewBesideWhatMoves) {
  drain(0);
  Tick windows = scrolled(tick(1000, 40));
  windows.moved->count = 400;
  EXPECT_TRUE(plan.next(windows).moves);
  windows.moved->count = 399;
  EXPECT_FALSE(plan.next(windows).moves);
}

TEST_F(ComposingPlanTest, MovesNothingIntoTooManyPieces) {
  drain(0);
  Tick scattered = scrolled(tick(6000, 68));
  scattered.moved->pieces = 61;
  EXPECT_FALSE(plan.next(scattered).moves);
  Tick much = scrolled(tick(6000, 68));
  much.moved->changed = macroblocks / 8 + 1;
  EXPECT_FALSE(plan.next(much).moves);
}

TEST_F(ComposingPlanTest, TakesLittleWithAMoveWhileTheLinkIsBehind) {
  const auto decision = plan.next(scrolled(tick(6000, 68)));
  EXPECT_TRUE(decision.moves);
  EXPECT_LE(decision.wantedBits, 0.5 * rate / 30);
}

/// What has moved too far meanwhile comes with the next picture.
TEST_F(ComposingPlanTest, LeavesOutAMoveOfWhichTooMuchIsNew) {
  Tick much = scrolled(tick(6000, 68));
  much.bitRate = rate / 40;
  much.moved->changed = 1000;
  EXPECT_EQ(plan.next(much).action, Action::hold);
}

TEST_F(ComposingPlanTest, MakesWhatStandsStillBetterBesideWhatMoves) {
  drain(0);
  Tick beside = scrolled(tick(4000, 68));
  beside.moved->coarse = 3000;
  beside.moved->coarseQuantiser = 40;
  const auto decision = plan.next(beside);
  EXPECT_TRUE(decision.moves);
  EXPECT_GT(decision.refined, 0U);
}

TEST_F(ComposingPlanTest, MakesAKeyFrameOfAMoveThatIsTooLarge) {
  drain(0);
  const auto decision = plan.next(scrolled(tick(6000, 68)));
  const auto other = plan.instead(decision, 7'000'000);
  ASSERT_TRUE(other);
  EXPECT_FALSE(other->moves);
  EXPECT_FALSE(other->composed);
}

/// Small portions together tell what the rest will take.
TEST_F(ComposingPlanTest, LearnsFromPortions) {
  drain(0);
  const auto planned = [&] {
    const auto decision = plan.next(coarse());
    return decision.wantedBits / static_cast<double>(decision.refined);
  };
  const double before = planned();
  for (int i = 0; i < 12; ++i) {
    const auto decision = plan.next(coarse());
    if (decision.action != Action::encode) {
      plan.sent(decision, 88, 0);
      continue;
    }
    plan.sent(decision, decision.wantedBits / 3, 0);
  }
  for (int i = 0; i < 30; ++i) plan.sent(plan.next(tick(0, 0)), 88, 0);
  EXPECT_LT(planned(), before) << "a third of what was expected";
}

/// Movement that has ended is no reason to wait.
TEST_F(ComposingPlanTest, MakesAPageBetterInPortionsAfterMovement) {
  drain(0);
  for (int i = 0; i < 10; ++i) plan.sent(plan.next(tick(macroblocks, 61)), 88, 0);
  for (int i = 0; i < 2; ++i) plan.sent(plan.next(tick(0, 0)), 88, 0);
  const auto decision = plan.next(coarse());
  EXPECT_GT(decision.refined, 0U);
  EXPECT_TRUE(decision.composed);
}

TEST_F(ComposingPlanTest, LearnsFromPortionsThatAreSmall) {
  drain(0);
  const auto planned = [&] {
    for (int i = 0; i < 2; ++i) plan.sent(plan.next(tick(0, 0)), 88, 0);
    const auto decision = plan.next(coarse());
    return decision.wantedBits / static_cast<double>(decision.refined);
  };
  const double before = planned();
  for (int i = 0; i < 6; ++i) {
    const auto decision = plan.next(coarse(10, 52));
    ASSERT_EQ(decision.refined, 4 * PicturePlan::composedPiece);
    plan.sent(decision, decision.wantedBits / 3, 0);
  }
  EXPECT_LT(planned(), 0.9 * before);
}

TEST_F(ComposingPlanTest, MakesAQuarterOfAPageBetterAtMostWithWhatHasChanged) {
  drain(0);
  EXPECT_EQ(plan.next(coarse()).refined, 30 * PicturePlan::composedPiece) << "half of the pieces";
  Tick many = coarse(900, 4);
  many.mostPieces = 200;
  const auto decision = plan.next(many);
  EXPECT_EQ(decision.macroblocks, macroblocks / PicturePlan::composedPart);
  EXPECT_TRUE(decision.composed);
}

/// Where it is soon done, or each portion is much for the link, portions will do.
TEST_F(ComposingPlanTest, KeepsToPortionsThoughPicturesAreFarApart) {
  for (int i = 0; i < 100; ++i) plan.sent(plan.next(tick(0, 0)), 0, 0);
  Tick rare = coarse();
  rare.elapsed = 150ms;
  EXPECT_FALSE(plan.next(rare).composed);
  rare.coarse = 1800;
  EXPECT_TRUE(plan.next(rare).composed);
  rare.coarse = macroblocks;
  rare.bitRate = rate / 4;
  EXPECT_TRUE(plan.next(rare).composed);
}

}  // namespace
}  // namespace vesk::picture::VESK_FILE
