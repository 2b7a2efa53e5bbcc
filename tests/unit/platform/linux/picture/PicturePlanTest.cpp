#include "platform/linux/picture/PicturePlan.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

namespace vesk::picture {
namespace {

using namespace std::chrono_literals;
using Action = PicturePlan::Action;
using Decision = PicturePlan::Decision;
using Tick = PicturePlan::Tick;

constexpr std::size_t macroblocks = 8160;
constexpr std::int64_t bitRate = 4'000'000;

/// A plan and an encoder whose macroblocks all cost the same.
class PicturePlanTest : public ::testing::Test {
 protected:
  /// The bits of that many macroblocks at a quantiser, twice as many for each six steps down.
  double bitsOf(std::size_t count, int quantiser) const {
    return static_cast<double>(count) * bitsEach_ *
           std::exp2((PicturePlan::goodQuantiser - quantiser) / 6.0);
  }

  Decision tick(std::size_t changed, bool keyFrame = false) {
    Tick next;
    next.changed = changed;
    next.coarse = std::min(coarse_, macroblocks - changed);
    next.elapsed = begun_ ? 33'333'333ns : 0ns;
    next.bitRate = bitRate;
    next.keyFrame = keyFrame;
    begun_ = true;
    const Decision decision = plan_.next(next);
    double bits = 64;
    if (decision.action == Action::encode) {
      bits += bitsOf(decision.keyFrame ? macroblocks : decision.macroblocks, decision.quantiser);
      const bool good = decision.quantiser <= PicturePlan::goodQuantiser;
      if (decision.keyFrame || decision.refine) {
        coarse_ = good ? 0 : macroblocks;
      } else if (!good) {
        coarse_ = std::max(coarse_, changed);
      }
    } else if (decision.action == Action::repeatKey) {
      bits = bitsOf(macroblocks, PicturePlan::goodQuantiser);
    }
    sent_ += bits;
    plan_.sent(decision, static_cast<std::size_t>(bits));
    return decision;
  }

  Decision ticks(int count, std::size_t changed) {
    Decision last;
    for (int i = 0; i < count; ++i) last = tick(changed);
    return last;
  }

  PicturePlan plan_{macroblocks};
  double bitsEach_ = 350;
  std::size_t coarse_ = 0;
  double sent_ = 0;
  bool begun_ = false;
};

TEST_F(PicturePlanTest, BeginsWithAKeyFrameThatIsSoonThere) {
  const auto first = tick(macroblocks);
  EXPECT_EQ(first.action, Action::encode);
  EXPECT_TRUE(first.keyFrame);
  EXPECT_LE(sent_, bitRate * 0.5);
}

TEST_F(PicturePlanTest, MakesAStillPictureGoodWithinASecondAndThenSkips) {
  tick(macroblocks);
  for (int i = 0; i < 30; ++i) tick(0);
  EXPECT_EQ(coarse_, 0U);
  for (int i = 0; i < 60; ++i) EXPECT_EQ(tick(0).action, Action::skip) << i;
}

TEST_F(PicturePlanTest, RepeatsAGoodKeyFrameForAsLongAsNothingChanges) {
  tick(macroblocks);
  ticks(119, 0);
  const auto second = tick(0, true);
  EXPECT_EQ(second.action, Action::encode);
  EXPECT_EQ(second.quantiser, PicturePlan::goodQuantiser);
  ticks(119, 0);
  EXPECT_EQ(tick(0, true).action, Action::repeatKey);
  ticks(10, 0);
  EXPECT_EQ(tick(0, true).action, Action::repeatKey);
  EXPECT_EQ(tick(0, true).action, Action::encode) << "two key frames in a row must differ";
  tick(3);
  EXPECT_EQ(tick(0, true).action, Action::encode) << "the picture has changed since";
}

TEST_F(PicturePlanTest, MakesGoodKeyFramesOnceAVideoHasStopped) {
  ticks(90, macroblocks);
  ticks(60, 0);
  EXPECT_EQ(coarse_, 0U);
  const auto key = tick(0, true);
  EXPECT_TRUE(key.keyFrame);
  EXPECT_EQ(key.quantiser, PicturePlan::goodQuantiser);
}

TEST_F(PicturePlanTest, EncodesASmallChangeWellAtOnce) {
  tick(macroblocks);
  ticks(60, 0);
  const auto typed = tick(2);
  EXPECT_EQ(typed.action, Action::encode);
  EXPECT_FALSE(typed.keyFrame);
  EXPECT_EQ(typed.quantiser, PicturePlan::goodQuantiser);
}

TEST_F(PicturePlanTest, KeepsToTheBitRateWhileEverythingChanges) {
  for (const double each : {60.0, 350.0, 700.0}) {
    plan_ = PicturePlan(macroblocks);
    begun_ = false;
    bitsEach_ = each;
    ticks(60, macroblocks);
    sent_ = 0;
    const auto last = ticks(180, macroblocks);
    // What is easy takes less than there is.
    if (last.quantiser > PicturePlan::goodQuantiser) {
      EXPECT_NEAR(sent_ / 6, bitRate, bitRate * 0.15) << each;
    } else {
      EXPECT_LE(sent_ / 6, bitRate * 1.15) << each;
    }
  }
}

TEST_F(PicturePlanTest, NeverPlansForAPictureThatTheLinkDoesNotHold) {
  constexpr std::size_t link = 1'048'576 * 8;
  EXPECT_LT(tick(macroblocks).mostBits, link);
  for (const std::size_t changed : {std::size_t{0}, std::size_t{4}, macroblocks}) {
    for (int i = 0; i < 40; ++i) {
      const auto decision = tick(changed, i % 13 == 0);
      EXPECT_LT(decision.mostBits, link);
      EXPECT_GT(decision.mostBits, 0U);
    }
  }
}

TEST_F(PicturePlanTest, MakesAKeyFrameOfAPictureThatIsTooLarge) {
  Decision large{Action::encode, false, 24, false, 100, 1'000'000};
  const auto smaller = PicturePlan::smaller(large, 4'000'000, macroblocks);
  ASSERT_TRUE(smaller);
  EXPECT_TRUE(smaller->keyFrame);
  EXPECT_EQ(smaller->macroblocks, macroblocks);
  EXPECT_EQ(smaller->quantiser, 24 + 13);
  EXPECT_EQ(smaller->mostBits, large.mostBits);
  large.quantiser = PicturePlan::worstQuantiser;
  EXPECT_FALSE(PicturePlan::smaller(large, 4'000'000, macroblocks));
  large = {Action::skip, false, 24, false, 100, 10};
  EXPECT_FALSE(PicturePlan::smaller(large, 11, macroblocks));
}

}  // namespace
}  // namespace vesk::picture
