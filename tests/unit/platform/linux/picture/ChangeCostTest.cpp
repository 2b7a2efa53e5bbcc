#include "platform/linux/picture/ChangeCost.h"

#include <gtest/gtest.h>

namespace vesk::picture::VESK_FILE {
namespace {

constexpr std::size_t macroblocks = 8160;

class ChangeCostTest : public ::testing::Test {
 protected:
  double of(double reference, int quantiser) const {
    return cost_.of(macroblocks, reference, quantiser, whole_);
  }
  double learn(double reference, int quantiser, double bits) {
    return cost_.learn(macroblocks, reference, quantiser, whole_, bits);
  }

  BitCost whole_{130, 1};
  ChangeCost cost_{{4, 0.3}};
};

TEST_F(ChangeCostTest, TakesWhatTheReferenceHasLeftOutBesidesWhatIsNew) {
  const double step = whole_.of(macroblocks, 30) - whole_.of(macroblocks, 36);
  EXPECT_NEAR(of(36, 30), cost_.each(macroblocks, 30) + step, 1);
  EXPECT_NEAR(of(30, 30), cost_.each(macroblocks, 30), 1);
  EXPECT_NEAR(of(30, 36), cost_.each(macroblocks, 36), 1) << "coarser pictures leave nothing out";
  EXPECT_LT(of(35.5, 30), of(36, 30));
}

TEST_F(ChangeCostTest, FindsOutThatWhatMovesThroughItselfIsAlwaysNew) {
  for (int i = 0; i < 60; ++i) {
    learn(34, 34, 300'000);
    learn(40, 34, 300'000);
  }
  EXPECT_NEAR(of(40, 34), 300'000, 60'000);
  EXPECT_NEAR(of(34, 34), 300'000, 60'000);
}

/// An encoder mends nothing for a while and then everything at once.
TEST_F(ChangeCostTest, RemembersWhatSmallStepsHaveNotYetMended) {
  learn(44, 44, 20'000);
  double reference = 44;
  for (const int quantiser : {43, 42, 41}) reference = learn(reference, quantiser, 20'000);
  EXPECT_GT(reference, 42.5);
  EXPECT_GT(of(reference, 40), 100'000);
  reference = learn(reference, 40, whole_.of(macroblocks, 40) - whole_.of(macroblocks, 44));
  EXPECT_LT(reference, 41.5);
}

/// What a change is expected to take for being finer than the one before.
TEST_F(ChangeCostTest, BelievesADearPictureSoonerThanACheapOne) {
  const double step = whole_.of(macroblocks, 30) - whole_.of(macroblocks, 36);
  const auto finer = [&] { return of(36, 30) - cost_.each(macroblocks, 30); };
  learn(36, 30, cost_.each(macroblocks, 30));
  EXPECT_LT(finer(), 0.95 * step);
  EXPECT_GT(finer(), 0.8 * step);
  for (int i = 0; i < 60; ++i) learn(36, 30, cost_.each(macroblocks, 30));
  EXPECT_LT(finer(), 0.05 * step);
  const double each = cost_.each(macroblocks, 30);
  learn(36, 30, each + step);
  EXPECT_GT(finer(), 0.4 * step);
  EXPECT_LT(finer(), 0.8 * step);
  EXPECT_NEAR(cost_.each(macroblocks, 30), each, 0.01 * each) << "none of it was new";
}

TEST_F(ChangeCostTest, MakesLittleOfASinglePictureHoweverDear) {
  const double step = whole_.of(macroblocks, 30) - whole_.of(macroblocks, 36);
  EXPECT_DOUBLE_EQ(learn(36, 30, 10 * step), 30) << "and it is no better than it was asked to be";
  EXPECT_LE(of(36, 30) - cost_.each(macroblocks, 30), 1.3 * step);
}

TEST_F(ChangeCostTest, ExpectsLessOnceInDoubt) {
  const double before = cost_.each(macroblocks, 30);
  cost_.doubt();
  EXPECT_LT(cost_.each(macroblocks, 30), before);
}

TEST_F(ChangeCostTest, BecomesCoarserOnlyByWhatComesAnew) {
  const double after = learn(30, 40, 20'000);
  EXPECT_GT(after, 30);
  EXPECT_LT(after, 31);
}

}  // namespace
}  // namespace vesk::picture::VESK_FILE
