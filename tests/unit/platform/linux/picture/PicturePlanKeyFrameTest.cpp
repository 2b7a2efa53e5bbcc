#include <gtest/gtest.h>

#include <set>

#include "platform/linux/picture/PicturePlan.h"

/// Single decisions about key frames; what becomes of whole streams is held elsewhere.

namespace vesk::picture::VESK_FILE {
namespace {

using namespace std::chrono_literals;
using Action = PicturePlan::Action;
using Decision = PicturePlan::Decision;
using Tick = PicturePlan::Tick;

constexpr std::size_t macroblocks = 8160;
constexpr double mostBits = 783'000.0 * 8;
constexpr double rate = 4e6;
constexpr double goodQuality = 45;
constexpr double poorQuality = 30;

class PicturePlanKeyFrameTest : public ::testing::Test {
 protected:
  static Tick tickOf(std::size_t changed, bool keyFrame = false) {
    Tick tick;
    tick.changed = changed;
    tick.elapsed = 33'333'333ns;
    tick.untilKey = 4s;
    tick.bitRate = static_cast<std::int64_t>(rate);
    tick.keyFrame = keyFrame;
    return tick;
  }

  /// A key frame that takes this part of what it may.
  Decision sendKey(double part, double quality) {
    const auto decision = plan.next(tickOf(macroblocks, true));
    plan.sent(decision, part * decision.wantedBits, quality);
    return decision;
  }

  void idle(int ticks) {
    for (int i = 0; i < ticks; ++i) plan.sent(plan.next(tickOf(0)), 0, 0);
  }

  PicturePlan plan{macroblocks, mostBits, {}};
};

TEST_F(PicturePlanKeyFrameTest, AsksForNothingBetterThanAReadableOne) {
  auto key = sendKey(1, PicturePlan::readableQuality);
  EXPECT_EQ(plan.bearable(), key.quantiser + 2);
  idle(30);
  key = sendKey(1, PicturePlan::readableQuality - 0.9);
  EXPECT_GE(plan.bearable(), key.quantiser) << "a page at the border stays on its side";
  idle(30);
  sendKey(1, PicturePlan::readableQuality - 1.1);
  EXPECT_EQ(plan.bearable(), PicturePlan::goodQuantiser + 2);
  idle(30);
  sendKey(1, PicturePlan::readableQuality - 0.9);
  EXPECT_EQ(plan.bearable(), PicturePlan::goodQuantiser + 2) << "on either";
}

TEST_F(PicturePlanKeyFrameTest, AsksForWhatTheEncoderHas) {
  plan.setRange({26, 54});
  sendKey(1, poorQuality);
  EXPECT_EQ(plan.bearable(), 28);
}

TEST_F(PicturePlanKeyFrameTest, AsksForMoreThanAReadableOneWhereKeyFramesCouldBeMuchBetter) {
  const auto key = sendKey(0.1, goodQuality);
  EXPECT_LE(plan.bearable(), key.quantiser - 3);
}

/// What has not changed can then be kept.
TEST_F(PicturePlanKeyFrameTest, StaysAsFineWhileLittleChanges) {
  for (const std::size_t changed : {std::size_t{3}, macroblocks}) {
    PicturePlan other{macroblocks, mostBits, {}};
    const auto first = other.next(tickOf(macroblocks, true));
    other.sent(first, first.wantedBits, goodQuality);
    for (int i = 0; i < 100; ++i) other.sent(other.next(tickOf(0)), 0, 0);
    other.sent(other.next(tickOf(changed)), 0.06 * first.wantedBits + rate / 30, 0);
    const auto second = other.next(tickOf(3, true));
    EXPECT_LT(second.wantedBits, 0.95 * first.wantedBits) << "the link has less room";
    if (changed == 3) {
      EXPECT_EQ(second.quantiser, first.quantiser);
    } else {
      EXPECT_GT(second.quantiser, first.quantiser) << "another page";
    }
  }
}

TEST_F(PicturePlanKeyFrameTest, IsMadeAnewWhereItsSizeIsNotAsItWasMeant) {
  const auto key = plan.next(tickOf(macroblocks, true));
  EXPECT_FALSE(plan.instead(key, 0.9 * key.wantedBits));
  EXPECT_FALSE(plan.instead(key, 1.1 * key.wantedBits));
  const auto coarser = plan.instead(key, 1.15 * key.wantedBits);
  ASSERT_TRUE(coarser);
  EXPECT_GT(coarser->quantiser, key.quantiser);
  EXPECT_LE(coarser->quantiser, key.quantiser + 2) << "little too much is mended by little";
  plan.sent(*coarser, coarser->wantedBits, poorQuality);
  idle(30);
  const auto next = plan.next(tickOf(macroblocks, true));
  const auto finer = plan.instead(next, 0.5 * next.wantedBits);
  ASSERT_TRUE(finer);
  EXPECT_LT(finer->quantiser, next.quantiser);
}

TEST_F(PicturePlanKeyFrameTest, IsMadeFinerTwiceAtMostEachTime) {
  for (int round = 0; round < 2; ++round) {
    auto key = plan.next(tickOf(macroblocks, true));
    key.quantiser = 51;
    EXPECT_TRUE(plan.instead(key, 0.7 * key.wantedBits));
    EXPECT_TRUE(plan.instead(key, 0.7 * key.wantedBits));
    EXPECT_FALSE(plan.instead(key, 0.7 * key.wantedBits));
    plan.sent(key, key.wantedBits, poorQuality);
    idle(30);
  }
}

TEST_F(PicturePlanKeyFrameTest, IsNeverCoarserThanTheEncoderCan) {
  auto key = plan.next(tickOf(macroblocks, true));
  key.quantiser = 49;
  EXPECT_TRUE(plan.instead(key, 2 * mostBits));
  EXPECT_TRUE(plan.instead(key, 2 * mostBits));
  const auto last = plan.instead(key, 2 * mostBits);
  ASSERT_TRUE(last);
  EXPECT_EQ(last->quantiser, QuantiserRange::worstOfStandard);
}

/// The same as the plan learns.
TEST_F(PicturePlanKeyFrameTest, TakesThePlaceOfAPictureThatIsMuchLarger) {
  const auto key = sendKey(1, poorQuality);
  idle(30);
  BitCost cost(130, 1);
  cost.learn(macroblocks, key.quantiser, key.wantedBits);
  const double least = cost.of(macroblocks, QuantiserRange::worstOfStandard);
  Decision large{Action::encode, false, 24, 50, 100, 500'000, 1000, 11};
  EXPECT_FALSE(plan.instead(large, 1.4 * least));
  const double bits = 3 * rate;
  const auto other = plan.instead(large, bits);
  ASSERT_TRUE(other);
  EXPECT_EQ(other->refined, 0U);
  EXPECT_NEAR(other->wantedBits, 0.4 * rate, 1) << "as amid changes";
  cost.learn(macroblocks, 24, bits);
  EXPECT_EQ(other->quantiser, cost.quantiserFor(macroblocks, other->wantedBits, {}));
}

TEST_F(PicturePlanKeyFrameTest, TakesThePlaceOfOneThatIsLargerByHalf) {
  const auto key = sendKey(1, poorQuality);
  idle(30);
  BitCost cost(130, 1);
  cost.learn(macroblocks, key.quantiser, key.wantedBits);
  const double least = cost.of(macroblocks, QuantiserRange::worstOfStandard);
  const Decision large{Action::encode, false, 24, 0, 100, 500'000, 1000, 11};
  EXPECT_TRUE(plan.instead(large, 1.6 * least));
}

TEST_F(PicturePlanKeyFrameTest, IsSmallerAndNoFinerAmidChanges) {
  sendKey(1, poorQuality);
  idle(30);
  Decision last;
  for (int i = 0; i < 30; ++i) {
    last = plan.next(tickOf(macroblocks));
    ASSERT_EQ(last.action, Action::encode);
    plan.sent(last, 0.5 * rate / 30, 0);
  }
  const auto moving = plan.next(tickOf(macroblocks, true));
  EXPECT_LE(moving.wantedBits, 0.4 * rate);
  EXPECT_EQ(moving.finest, last.quantiser);
  EXPECT_GE(moving.quantiser, last.quantiser);
  plan.sent(moving, 0.3 * rate, poorQuality);
  idle(30);
  const auto still = plan.next(tickOf(0, true));
  EXPECT_GT(still.wantedBits, 0.5 * rate);
  EXPECT_LE(still.wantedBits, 0.6 * rate);
  EXPECT_EQ(still.finest, QuantiserRange::finestOfAll);
}

TEST_F(PicturePlanKeyFrameTest, IsNoFinerAmidChangesThoughItCouldBe) {
  sendKey(0.01, poorQuality);
  idle(30);
  Decision last;
  for (int i = 0; i < 20; ++i) {
    last = plan.next(tickOf(macroblocks));
    plan.sent(last, rate / 30, 0);
  }
  ASSERT_GT(last.quantiser, QuantiserRange::finestOfAll);
  EXPECT_EQ(plan.next(tickOf(macroblocks, true)).quantiser, last.quantiser);
}

TEST_F(PicturePlanKeyFrameTest, IsRepeatedWhileNothingElseWasEncoded) {
  sendKey(1, goodQuality);
  idle(60);
  auto tick = tickOf(0, true);
  const auto again = plan.next(tick);
  EXPECT_EQ(again.action, Action::repeatKey);
  EXPECT_EQ(again.refined, 0U);
  EXPECT_TRUE(again.keyFrame);
  plan.sent(again, 0.6 * rate, 0);
  idle(60);
  tick.changed = 1;
  EXPECT_EQ(plan.next(tick).action, Action::encode);
}

TEST_F(PicturePlanKeyFrameTest, KeepsWhatIsReadableUnlessItCouldBeMuchBetter) {
  const auto key = sendKey(0.8, goodQuality);
  EXPECT_EQ(plan.bearable(), key.quantiser + 2);
}

/// The page before says nothing of this one.
TEST_F(PicturePlanKeyFrameTest, IsNotKeptForAnotherPage) {
  for (const std::size_t changed : {std::size_t{3}, macroblocks}) {
    PicturePlan other{macroblocks, mostBits, {}};
    const auto first = other.next(tickOf(macroblocks, true));
    other.sent(first, first.wantedBits, goodQuality);
    for (int i = 0; i < 100; ++i) other.sent(other.next(tickOf(0)), 0, 0);
    other.sent(other.next(tickOf(changed)), 0.06 * first.wantedBits + rate * 4 / 30, 0);
    for (int i = 0; i < 3; ++i) other.sent(other.next(tickOf(0)), 0, 0);
    const auto second = other.next(tickOf(0, true));
    ASSERT_EQ(second.action, Action::encode);
    EXPECT_LT(second.wantedBits, 0.95 * first.wantedBits) << "the link has less room";
    EXPECT_EQ(second.quantiser > first.quantiser, changed > 3) << changed;
  }
}

/// Which a viewer would not see, and all of it would be encoded anew.
TEST_F(PicturePlanKeyFrameTest, IsKeptWhereItCouldBeHardlyFiner) {
  constexpr double flawless = 44;
  for (const double quality : {flawless, flawless - 0.1}) {
    PicturePlan other{macroblocks, mostBits, {}};
    const auto first = other.next(tickOf(macroblocks, true));
    other.sent(first, 0.84 * first.wantedBits, quality);
    for (int i = 0; i < 60; ++i) other.sent(other.next(tickOf(0)), 0, 0);
    const auto second = other.next(tickOf(3, true));
    EXPECT_EQ(second.quantiser, first.quantiser - (quality == flawless ? 0 : 2)) << quality;
    // Nor is a finer one asked for when it is there.
    const auto finer = other.instead(second, 0.84 * second.wantedBits);
    EXPECT_EQ(finer.has_value(), quality < flawless);
  }
}

/// A key frame that is kept would undo each time what has become better meanwhile.
TEST_F(PicturePlanKeyFrameTest, IsNotKeptWhereThePageIsToBecomeMuchBetter) {
  std::set<int> finer;
  for (int part = 0; part < 200; ++part) {
    PicturePlan other{macroblocks, mostBits, {}};
    const auto first = other.next(tickOf(macroblocks, true));
    other.sent(first, 0.4 * first.wantedBits, goodQuality);
    for (int i = 0; i < 60; ++i) other.sent(other.next(tickOf(0)), 0, 0);
    other.sent({.action = Action::skip}, rate * part / 200, 0);
    finer.insert(first.quantiser - other.next(tickOf(3, true)).quantiser);
  }
  EXPECT_TRUE(finer.contains(1));
  EXPECT_TRUE(finer.contains(2));
}

TEST_F(PicturePlanKeyFrameTest, IsNotKeptWhereItIsTooMuchForTheLink) {
  const auto first = sendKey(1, goodQuality);
  idle(60);
  auto slower = tickOf(3, true);
  slower.bitRate = static_cast<std::int64_t>(rate * 0.92);
  EXPECT_EQ(plan.next(slower).quantiser, first.quantiser);
  slower.bitRate = static_cast<std::int64_t>(rate * 0.85);
  EXPECT_GT(plan.next(slower).quantiser, first.quantiser);
}

TEST_F(PicturePlanKeyFrameTest, IsNotKeptWhereItCouldBeFiner) {
  for (const double part : {0.8, 0.5}) {
    PicturePlan other{macroblocks, mostBits, {}};
    const auto first = other.next(tickOf(macroblocks, true));
    other.sent(first, part * first.wantedBits, goodQuality);
    for (int i = 0; i < 60; ++i) other.sent(other.next(tickOf(0)), 0, 0);
    EXPECT_LE(other.next(tickOf(3, true)).quantiser, first.quantiser - 3) << part;
  }
}

TEST_F(PicturePlanKeyFrameTest, IsNotRepeatedWhereTheLinkHasNoRoomForIt) {
  sendKey(1, goodQuality);
  idle(60);
  EXPECT_EQ(plan.next(tickOf(0, true)).action, Action::repeatKey);
  plan.sent({.action = Action::skip}, 0.5 * rate, 0);
  EXPECT_EQ(plan.next(tickOf(0, true)).action, Action::encode);
}

/// Even where nobody would wait for it for a second.
TEST_F(PicturePlanKeyFrameTest, IsNotRepeatedOnceItTakesMuchMoreThanItMay) {
  sendKey(1, goodQuality);
  idle(60);
  auto slower = tickOf(0, true);
  slower.bitRate = static_cast<std::int64_t>(rate * 0.92);
  EXPECT_EQ(plan.next(slower).action, Action::repeatKey);
  slower.bitRate = static_cast<std::int64_t>(rate * 0.85);
  EXPECT_EQ(plan.next(slower).action, Action::encode);
}

TEST_F(PicturePlanKeyFrameTest, IsMadeNoFinerThanTheMovementIs) {
  sendKey(0.01, poorQuality);
  idle(30);
  Decision last;
  for (int i = 0; i < 20; ++i) {
    last = plan.next(tickOf(macroblocks));
    plan.sent(last, rate / 30, 0);
  }
  const auto key = plan.next(tickOf(macroblocks, true));
  ASSERT_EQ(key.quantiser, last.quantiser);
  EXPECT_FALSE(plan.instead(key, 0.01 * key.wantedBits));
}

/// A change that waits, and is undone meanwhile, brings no key frame back that is not valid any
/// more.
TEST_F(PicturePlanKeyFrameTest, IsNotRepeatedBehindAChangeThatWaits) {
  sendKey(1, goodQuality);
  idle(60);
  plan.sent(plan.next(tickOf(3)), 1000, 0);
  plan.sent({.action = Action::skip}, 1.2 * rate, 0);
  const auto held = plan.next(tickOf(3));
  ASSERT_EQ(held.action, Action::hold);
  plan.sent(held, 88, 0);
  idle(60);
  EXPECT_EQ(plan.next(tickOf(0, true)).action, Action::encode);
}

TEST_F(PicturePlanKeyFrameTest, IsThatOfAStillPageFromTheSecondPictureWithoutAChangeOn) {
  for (const int still : {0, 1}) {
    sendKey(1, poorQuality);
    idle(60);
    for (int i = 0; i < 5; ++i) plan.sent(plan.next(tickOf(macroblocks)), 1000, 0);
    idle(still);
    EXPECT_EQ(plan.next(tickOf(0, true)).wantedBits > 0.4 * rate, still == 1) << still;
    idle(30);
  }
}

}  // namespace
}  // namespace vesk::picture::VESK_FILE
