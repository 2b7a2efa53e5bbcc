#include "platform/linux/picture/PicturePlan.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

namespace vesk::picture::VESK_FILE {
namespace {

using namespace std::chrono_literals;
using Action = PicturePlan::Action;
using Decision = PicturePlan::Decision;
using Tick = PicturePlan::Tick;

constexpr std::size_t macroblocks = 8160;
constexpr double mostBits = 783'000.0 * 8;
constexpr int picturesPerSecond = 30;
constexpr int keyInterval = 4 * picturesPerSecond;

/// An encoder whose macroblocks are all of one kind, on a link of exactly the asked rate.
class PicturePlanTest : public ::testing::Test {
 protected:
  /// Bits of that many macroblocks of a page of letters.
  double bitsOf(std::size_t count, int quantiser) const {
    const double step = std::exp2((quantiser - 4) / 6.0);
    return static_cast<double>(count) * density_ * std::log2(1 + 140.0 * 140 / step / step) / 2;
  }

  double bitsOf(const Decision& decision) const {
    constexpr double header = 88;
    if (decision.action == Action::repeatKey) return bitsOf(macroblocks, decision.quantiser);
    if (decision.action != Action::encode) return header;
    if (decision.keyFrame) return header + bitsOf(macroblocks, decision.quantiser);
    const double better = bitsOf(decision.refined, decision.quantiser);
    const double before = bitsOf(decision.refined, quantiser_);
    return header +
           changeFactor_ * bitsOf(decision.macroblocks - decision.refined, decision.quantiser) +
           std::max(better - before, 0.0) * 1.12;
  }

  Tick tickOf(std::size_t changed, bool keyFrame) const {
    Tick tick;
    tick.changed = std::min(changed + missed_, macroblocks);
    const bool coarse = quantiser_ > plan_.bearable();
    tick.coarse = coarse ? std::min(coarse_, macroblocks - tick.changed) : 0;
    tick.coarseQuantiser = quantiser_;
    tick.elapsed = delays_.empty() ? 0ns : 33'333'333ns;
    tick.untilKey = 33'333'333ns * (keyInterval - sinceKey_);
    tick.bitRate = rate_;
    tick.keyFrame = keyFrame || sinceKey_ == 0 || sinceKey_ == keyInterval;
    return tick;
  }

  void note(const Decision& decision, const Tick& tick) {
    missed_ = decision.action == Action::hold ? tick.changed : 0;
    if (decision.keyFrame) {
      quantiser_ = decision.quantiser;
      coarse_ = macroblocks;
      sinceKey_ = 0;
    } else if (decision.action == Action::encode && decision.refined > 0) {
      coarse_ -= std::min(decision.refined, coarse_);
      if (coarse_ == 0) {
        quantiser_ = decision.quantiser;
        coarse_ = macroblocks;
      }
    } else if (decision.action == Action::encode && tick.changed > macroblocks / 2) {
      quantiser_ = decision.quantiser;
    }
    ++sinceKey_;
  }

  Decision tick(std::size_t changed, bool keyFrame = false) {
    const Tick next = tickOf(changed, keyFrame);
    Decision decision = plan_.next(next);
    double bits = bitsOf(decision);
    while (const auto other = plan_.instead(decision, bits)) {
      decision = *other;
      bits = bitsOf(decision);
    }
    note(decision, next);
    plan_.sent(decision, bits, 68 - decision.quantiser);
    bits_.push_back(bits);
    const double rate = static_cast<double>(rate_);
    if (!delays_.empty()) waiting_ = std::max(waiting_ - rate / picturesPerSecond, 0.0);
    waiting_ += bits;
    delays_.push_back(waiting_ / rate);
    return decision;
  }

  Decision ticks(int count, std::size_t changed) {
    Decision last;
    for (int i = 0; i < count; ++i) last = tick(changed);
    return last;
  }

  void begin(std::int64_t rate, double density) {
    plan_ = PicturePlan(macroblocks, mostBits, {});
    rate_ = rate;
    density_ = density;
    quantiser_ = QuantiserRange::worstOfStandard;
    coarse_ = macroblocks;
    sinceKey_ = 0;
    missed_ = 0;
    waiting_ = 0;
    delays_.clear();
    bits_.clear();
  }

  void expectThatTheLinkKeepsUp(double worst) const {
    auto sorted = delays_;
    std::sort(sorted.begin(), sorted.end());
    EXPECT_LE(sorted.back(), worst);
    EXPECT_LE(sorted[sorted.size() * 95 / 100], 0.5);
    expectThatTheWindowHolds();
  }

  void expectThatTheWindowHolds() const {
    double window = 0;
    for (std::size_t i = 0; i < bits_.size(); ++i) {
      window += bits_[i];
      if (i >= 3 * picturesPerSecond) window -= bits_[i - 3 * picturesPerSecond];
      ASSERT_LE(window, 3.3 * static_cast<double>(rate_)) << "picture " << i;
    }
  }

  PicturePlan plan_{macroblocks, mostBits, {}};
  std::int64_t rate_ = 4'000'000;
  double density_ = 100;
  double changeFactor_ = 1;
  int quantiser_ = QuantiserRange::worstOfStandard;  ///< of what is coarsest
  std::size_t coarse_ = macroblocks;
  int sinceKey_ = 0;
  std::size_t missed_ = 0;
  double waiting_ = 0;
  std::vector<double> delays_;
  std::vector<double> bits_;
};

TEST_F(PicturePlanTest, BeginsWithAKeyFrameThatIsSoonThere) {
  const auto first = tick(macroblocks);
  EXPECT_EQ(first.action, Action::encode);
  EXPECT_TRUE(first.keyFrame);
  EXPECT_LE(delays_[0], 0.8);
  EXPECT_GE(delays_[0], 0.4) << "what is not used for it is not used for anything";
}

/// Nothing is saved up for later, nor spent before it is there.
TEST_F(PicturePlanTest, NeverKeepsTheLinkBusyForLongWhileNothingChanges) {
  for (const std::int64_t rate : {1'000'000, 2'000'000, 4'000'000, 8'000'000}) {
    for (const double density : {3.0, 40.0, 100.0, 240.0}) {
      SCOPED_TRACE(std::to_string(rate) + " " + std::to_string(density));
      begin(rate, density);
      ticks(14 * picturesPerSecond, 0);
      expectThatTheLinkKeepsUp(1);
    }
  }
}

TEST_F(PicturePlanTest, NeverKeepsTheLinkBusyForLongWhenMovementBeginsAndEnds) {
  for (const std::int64_t rate : {1'000'000, 4'000'000}) {
    begin(rate, 60);
    changeFactor_ = 0.2;
    for (int round = 0; round < 4; ++round) {
      ticks(50, 0);
      ticks(70, macroblocks / 2);
    }
    expectThatTheLinkKeepsUp(1);
  }
}

TEST_F(PicturePlanTest, RepeatsTheKeyFrameOfAReadablePageAndNothingElse) {
  begin(4'000'000, 80);
  ticks(2 * keyInterval, 0);
  EXPECT_LE(quantiser_, PicturePlan::readableQuantiser);
  const int settled = quantiser_;
  for (int i = 0; i < 2 * keyInterval; ++i) {
    const auto decision = tick(0);
    EXPECT_EQ(decision.action, i % keyInterval == 0 ? Action::repeatKey : Action::skip) << i;
  }
  EXPECT_EQ(quantiser_, settled);
}

TEST_F(PicturePlanTest, RepeatsNoKeyFrameThatHasBecomeTooLargeForTheRate) {
  begin(8'000'000, 60);
  ticks(2 * keyInterval, 0);
  rate_ = 1'000'000;
  for (int i = 0; i < 2 * keyInterval; ++i) {
    tick(0);
    EXPECT_LE(delays_.back(), 1) << i;
  }
}

TEST_F(PicturePlanTest, RepeatsNoKeyFrameOfAnEncoderThatIsGone) {
  begin(4'000'000, 80);
  ticks(2 * keyInterval + 10, 0);
  plan_.setRange({26, 54});
  const auto next = tick(0, true);
  EXPECT_EQ(next.action, Action::encode);
  EXPECT_GE(next.quantiser, 26);
}

TEST_F(PicturePlanTest, MakesAPageGoodWhoseKeyFramesCannotBe) {
  begin(4'000'000, 200);
  tick(macroblocks);
  EXPECT_GT(quantiser_, PicturePlan::readableQuantiser);
  int best = PicturePlan::worstQuantiser;
  for (int i = 1; i < 8 * picturesPerSecond; ++i) {
    tick(0);
    best = std::min(best, quantiser_);
  }
  EXPECT_LE(best, 22);
}

TEST_F(PicturePlanTest, TwoKeyFramesInARowDiffer) {
  ticks(2 * keyInterval + 10, 0);
  EXPECT_EQ(tick(0, true).action, Action::repeatKey);
  EXPECT_EQ(tick(0, true).action, Action::encode);
  tick(3);
  EXPECT_EQ(tick(0, true).action, Action::encode) << "the picture has changed since";
}

TEST_F(PicturePlanTest, EncodesASmallChangeWellAtOnce) {
  ticks(60, 0);
  const auto typed = tick(2);
  EXPECT_EQ(typed.action, Action::encode);
  EXPECT_FALSE(typed.keyFrame);
  EXPECT_LE(typed.quantiser, PicturePlan::readableQuantiser);
}

TEST_F(PicturePlanTest, EncodesASmallChangeWellThoughTheRestIsCoarse) {
  begin(1'000'000, 200);
  tick(macroblocks);
  const auto typed = tick(2);
  EXPECT_EQ(typed.action, Action::encode);
  EXPECT_LE(typed.quantiser, PicturePlan::readableQuantiser);
}

TEST_F(PicturePlanTest, KeepsToTheBitRateWhileEverythingChanges) {
  for (const double density : {20.0, 60.0, 150.0}) {
    begin(4'000'000, density);
    changeFactor_ = 0.15;
    ticks(60, macroblocks);
    const std::size_t from = bits_.size();
    const auto last = ticks(2 * keyInterval, macroblocks);
    double sum = 0;
    for (std::size_t i = from; i < bits_.size(); ++i) sum += bits_[i];
    EXPECT_LE(sum / 8, 4'000'000 * 1.02) << density;
    if (last.quantiser > BitCost::finestQuantiser) {
      EXPECT_GE(sum / 8, 4'000'000 * 0.9) << density;
    }
    expectThatTheLinkKeepsUp(1);
  }
}

TEST_F(PicturePlanTest, LeavesPicturesOutWhereEvenTheCoarsestAreTooLarge) {
  begin(250'000, 60);
  tick(macroblocks);
  int encoded = 0;
  int held = 0;
  for (int i = 0; i < 5 * picturesPerSecond; ++i) {
    const auto decision = tick(macroblocks);
    encoded += decision.action == Action::encode ? 1 : 0;
    held += decision.action == Action::hold ? 1 : 0;
  }
  EXPECT_GE(encoded, 5);
  EXPECT_GE(held, 5);
  EXPECT_LE(*std::max_element(delays_.begin(), delays_.end()), 2);
  // What was left out comes once there is room.
  for (int i = 0; i < 2 * picturesPerSecond && missed_ > 0; ++i) tick(0);
  EXPECT_EQ(missed_, 0U);
}

/// So many are left out between two that what the one before took must not be forgotten over them.
TEST_F(PicturePlanTest, KeepsToTheBitRateWhereOnlyAFewOfThePicturesCanBeSent) {
  for (const double density : {60.0, 90.0, 120.0}) {
    SCOPED_TRACE(density);
    begin(1'000'000, density);
    ticks(3 * keyInterval, macroblocks);
    expectThatTheWindowHolds();
  }
}

/// A page that has gone along with next to nothing new is left for others.
TEST_F(PicturePlanTest, KeepsToTheBitRateWhereChangesBecomeDear) {
  for (const std::int64_t rate : {1'000'000, 4'000'000}) {
    for (const double cheap : {0.01, 0.05}) {
      SCOPED_TRACE(::testing::Message() << rate << ", " << cheap);
      begin(rate, 60);
      for (int i = 0; i < 5; ++i) {
        changeFactor_ = cheap;
        ticks(45, macroblocks / 2);
        changeFactor_ = 1;
        ticks(15, macroblocks);
      }
      expectThatTheWindowHolds();
    }
  }
}

TEST_F(PicturePlanTest, NeverPlansForAPictureThatTheLevelDoesNotHold) {
  begin(50'000'000, 400);
  EXPECT_LE(tick(macroblocks).mostBits, mostBits);
  for (const std::size_t changed : {std::size_t{0}, std::size_t{4}, macroblocks}) {
    for (int i = 0; i < 40; ++i) {
      tick(changed, i % 13 == 0);
      EXPECT_LE(bits_.back(), mostBits);
    }
  }
}

TEST_F(PicturePlanTest, MakesAKeyFrameOfAPictureThatIsTooLarge) {
  tick(macroblocks);
  Decision large{Action::encode, false, 24, 0, 100, 500'000, 1'000'000, 11};
  const auto other = plan_.instead(large, 4'000'000);
  ASSERT_TRUE(other);
  EXPECT_TRUE(other->keyFrame);
  EXPECT_EQ(other->macroblocks, macroblocks);
  EXPECT_GT(other->quantiser, 24);
  EXPECT_FALSE(plan_.instead(large, 900'000));
  large.quantiser = QuantiserRange::worstOfStandard;
  EXPECT_FALSE(plan_.instead(large, 4'000'000));
  large = {Action::skip, false, 24, 0, 100, 10, 10, 11};
  EXPECT_FALSE(plan_.instead(large, 11));
}

TEST_F(PicturePlanTest, MakesAFinerKeyFrameOfOneThatIsNeedlesslySmall) {
  const auto first = plan_.next(tickOf(macroblocks, true));
  const auto other = plan_.instead(first, first.wantedBits / 10);
  ASSERT_TRUE(other);
  EXPECT_TRUE(other->keyFrame);
  EXPECT_LT(other->quantiser, first.quantiser);
  int attempts = 1;
  for (auto next = other; next && attempts < 10; ++attempts) {
    next = plan_.instead(*next, next->wantedBits / 10);
  }
  EXPECT_LE(attempts, 3);
}

/// A letter in a page of noise takes much, but a key frame of the page takes far more.
TEST_F(PicturePlanTest, MakesNoKeyFrameOfAPictureThatTakesLessThanOne) {
  begin(250'000, 100);
  ticks(30, 0);
  Tick next = tickOf(2, false);
  Decision decision = plan_.next(next);
  for (int i = 0; i < 300; ++i) {
    EXPECT_FALSE(plan_.instead(decision, 33'000)) << i;
    plan_.sent(decision, decision.action == Action::encode ? 33'000 : 88, 0);
    next.untilKey = 2s;
    decision = plan_.next(next);
    waiting_ = std::max(waiting_ - 250'000.0 / picturesPerSecond, 0.0) +
               (decision.action == Action::encode ? 33'000 : 88);
    EXPECT_LE(waiting_, 250'000 * 2.2) << i;
  }
}

/// All that is made instead of a picture is made within that picture's time.
TEST_F(PicturePlanTest, FindsACoarserKeyFrameInAFewSteps) {
  begin(8'000'000, 0.5);
  ticks(2 * keyInterval, 0);
  density_ = 240;
  Decision decision = plan_.next(tickOf(macroblocks, true));
  int attempts = 0;
  while (const auto other = plan_.instead(decision, bitsOf(decision))) {
    decision = *other;
    ++attempts;
  }
  EXPECT_GE(attempts, 1);
  EXPECT_LE(attempts, 5);
  EXPECT_LE(bitsOf(decision), 8'000'000);
}

TEST_F(PicturePlanTest, ShowsASingleMacroblockThatChanges) {
  ticks(2 * picturesPerSecond, 0);
  EXPECT_EQ(tick(1).action, Action::encode);
}

/// A page that is replaced while the link is idle is there within a second, key frame or not.
TEST_F(PicturePlanTest, KeepsTheDelayWhenAPageIsReplaced) {
  for (int at = 10; at < keyInterval; at += 9) {
    begin(1'000'000, 60);
    ticks(keyInterval + at, 0);
    tick(macroblocks);
    ticks(keyInterval, 0);
    EXPECT_LE(*std::max_element(delays_.begin(), delays_.end()), 1.15) << at;
  }
}

}  // namespace
}  // namespace vesk::picture::VESK_FILE
