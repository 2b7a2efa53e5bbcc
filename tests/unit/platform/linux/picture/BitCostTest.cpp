#include "platform/linux/picture/BitCost.h"

#include <gtest/gtest.h>

#include <cmath>
#include <utility>
#include <vector>

namespace vesk::picture::VESK_FILE {
namespace {

/// Bytes of a key frame of 8160 macroblocks, measured: a page of small letters, and a photograph.
const std::vector<std::pair<int, double>> letters{
    {14, 1284e3}, {20, 1030e3}, {26, 798e3}, {32, 580e3}, {38, 368e3}, {44, 200e3}, {51, 54e3}};
constexpr std::size_t macroblocks = 8160;

TEST(BitCostTest, ForetellsAPageOfLettersFromTwoKeyFrames) {
  BitCost cost(100, 1);
  cost.learn(macroblocks, 38, 368e3 * 8);
  cost.learnAgain(macroblocks, 20, 1030e3 * 8);
  for (const auto& [quantiser, bytes] : letters) {
    if (quantiser > 44) continue;
    EXPECT_NEAR(cost.of(macroblocks, quantiser) / 8, bytes, bytes * 0.2) << quantiser;
  }
}

TEST(BitCostTest, ForetellsAPhotographFromTwoKeyFrames) {
  BitCost cost(100, 1);
  cost.learn(macroblocks, 26, 20e3 * 8);
  cost.learnAgain(macroblocks, 14, 100e3 * 8);
  EXPECT_NEAR(cost.of(macroblocks, 20) / 8, 44e3, 10e3);
}

TEST(BitCostTest, FindsTheFinestQuantiserThatIsAffordable) {
  BitCost cost(200, 1);
  for (const QuantiserRange& range : {QuantiserRange{11, 51}, QuantiserRange{26, 54}}) {
    for (const double bits : {1e4, 3e5, 2e6, 5e6}) {
      const int quantiser = cost.quantiserFor(macroblocks, bits, range);
      if (quantiser < range.worst) {
        EXPECT_LE(cost.of(macroblocks, quantiser), bits);
      }
      if (quantiser > range.finest) {
        EXPECT_GT(cost.of(macroblocks, quantiser - 1), bits);
      }
    }
    EXPECT_EQ(cost.quantiserFor(macroblocks, cost.of(macroblocks, 30), range), 30);
    EXPECT_EQ(cost.quantiserFor(macroblocks, -1, range), range.worst);
    EXPECT_EQ(cost.quantiserFor(macroblocks, 1e9, range), range.finest);
  }
}

TEST(BitCostTest, BelievesAsMuchOfEachPictureAsItIsTold) {
  BitCost cost(200, 0.5);
  cost.learn(macroblocks, 30, 1e6);
  EXPECT_NEAR(cost.of(macroblocks, 30), 1e6, 1) << "the first is all that is known";
  cost.learn(macroblocks, 30, 2e6);
  EXPECT_NEAR(cost.of(macroblocks, 30), std::sqrt(2.0) * 1e6, 1e4);
  cost.learn(3, 30, 1e9);
  cost.learnAgain(3, 30, 1e9);
  EXPECT_NEAR(cost.of(macroblocks, 30), std::sqrt(2.0) * 1e6, 1e4)
      << "three macroblocks tell nothing";
}

TEST(BitCostTest, TakesTheCoarsestPicturesForNoMeasureOfTheFineOnes) {
  BitCost cost(100, 1);
  cost.learn(macroblocks, 38, 368e3 * 8);
  const double fine = cost.of(macroblocks, 20);
  cost.learn(macroblocks, 51, 2 * cost.of(macroblocks, 51));
  EXPECT_LT(cost.of(macroblocks, 20), 1.5 * fine);
  const double coarse = cost.of(macroblocks, 51);
  cost.learn(macroblocks, 20, fine / 2);
  EXPECT_LT(cost.of(macroblocks, 51), coarse);
  EXPECT_GT(cost.of(macroblocks, 51), coarse / 2);
}

void expectThatItFalls(const BitCost& cost) {
  for (int quantiser = 12; quantiser <= BitCost::worstQuantiser; ++quantiser) {
    EXPECT_LT(cost.of(macroblocks, quantiser), cost.of(macroblocks, quantiser - 1)) << quantiser;
  }
}

TEST(BitCostTest, FallsFromEachQuantiserToTheNext) {
  BitCost cost(100, 1);
  expectThatItFalls(cost);
  cost.learn(macroblocks, 30, 1e6);
  cost.learn(macroblocks, 30, 5e4);
  expectThatItFalls(cost);
  cost.learnAgain(macroblocks, 34, 5e6);
  cost.learnAgain(macroblocks, 33, 1e5);
  cost.doubt();
  expectThatItFalls(cost);
  cost.learn(macroblocks, BitCost::finestQuantiser, 1e4);
  expectThatItFalls(cost);
}

TEST(BitCostTest, BeginsWithHalfABitForEachDoublingOfThePowerOfLetters) {
  const BitCost cost(100, 1);
  // The step doubles in six quantisers, and the power with its square.
  EXPECT_NEAR(cost.of(macroblocks, 14) - cost.of(macroblocks, 20), 100.0 * macroblocks,
              2.0 * macroblocks);
}

TEST(BitCostTest, LearnsAtBothEnds) {
  for (const int quantiser : {BitCost::finestQuantiser, BitCost::worstQuantiser}) {
    BitCost cost(100, 1);
    cost.learn(macroblocks, quantiser, 1e6);
    EXPECT_NEAR(cost.of(macroblocks, quantiser), 1e6, 1);
    cost.learn(macroblocks, quantiser, 2e6);
    EXPECT_NEAR(cost.of(macroblocks, quantiser), 2e6, 1);
    cost.learnAgain(macroblocks, quantiser, 1e6);
    EXPECT_NEAR(cost.of(macroblocks, quantiser), 1e6, 1);
  }
}

TEST(BitCostTest, LearnsOfAsFewAsTell) {
  BitCost cost(100, 1);
  cost.learn(BitCost::tellingNumber, 30, 1e4);
  EXPECT_NEAR(cost.of(BitCost::tellingNumber, 30), 1e4, 1);
  cost.learnAgain(BitCost::tellingNumber, 30, 2e4);
  EXPECT_NEAR(cost.of(BitCost::tellingNumber, 30), 2e4, 1);
}

TEST(BitCostTest, LearnsTheFirstTimeWhicheverWayItIsTold) {
  BitCost cost(100, 1);
  BitCost again(100, 1);
  cost.learn(macroblocks, 30, 1e6);
  again.learnAgain(macroblocks, 30, 1e6);
  for (const int quantiser : {14, 30, 51}) {
    EXPECT_DOUBLE_EQ(again.of(macroblocks, quantiser), cost.of(macroblocks, quantiser));
  }
}

/// How many times as much a quantiser takes after what was learnt at another one, which took so
/// many times what was expected.
double growth(int of, int learntAt, void (BitCost::*learn)(std::size_t, int, double),
              double times = 2) {
  BitCost cost(100, 1);
  cost.learn(macroblocks, 30, cost.of(macroblocks, 30));
  const double before = cost.of(macroblocks, of);
  (cost.*learn)(macroblocks, learntAt, times * cost.of(macroblocks, learntAt));
  return cost.of(macroblocks, of) / before;
}

TEST(BitCostTest, TakesAMeasureForNeighboursMoreThanForWhatIsFar) {
  EXPECT_GT(growth(31, 30, &BitCost::learn), 1.8);
  EXPECT_LT(growth(31, 30, &BitCost::learn), 2);
  EXPECT_LT(growth(45, 30, &BitCost::learn), 1.5);
  EXPECT_GT(growth(45, 30, &BitCost::learn), 1.1) << "the page is another one all the same";
  EXPECT_LT(growth(51, 54, &BitCost::learn), 1.5) << "next to nothing is left of letters there";
}

TEST(BitCostTest, BendsOnlyThereWhereItLearnsAgain) {
  EXPECT_NEAR(growth(31, 31, &BitCost::learnAgain, 1.25), 1.25, 0.01);
  EXPECT_GT(growth(33, 31, &BitCost::learnAgain, 1.25), 1.1);
  EXPECT_LT(growth(33, 31, &BitCost::learnAgain, 1.25), 1.25);
  EXPECT_NEAR(growth(15, 31, &BitCost::learnAgain, 1.25), 1, 0.01);
  EXPECT_NEAR(growth(45, 31, &BitCost::learnAgain, 1.25), 1, 0.01);
}

TEST(BitCostTest, MovesWhatIsBeyondTheLastMeasureAndKeepsToTheOneBefore) {
  EXPECT_NEAR(growth(30, 24, &BitCost::learnAgain), 1, 0.01);
  EXPECT_NEAR(growth(24, 24, &BitCost::learnAgain), 2, 0.01);
  EXPECT_NEAR(growth(14, 24, &BitCost::learnAgain), 2, 0.01);
  BitCost cost(100, 1);
  cost.learn(macroblocks, 38, 368e3 * 8);
  cost.learnAgain(macroblocks, 20, 1030e3 * 8);
  cost.learnAgain(macroblocks, 26, 900e3 * 8);
  EXPECT_NEAR(cost.of(macroblocks, 20), 1030e3 * 8, 1);
}

TEST(BitCostTest, ExpectsLessOnceInDoubt) {
  BitCost cost(100, 1);
  cost.learn(macroblocks, 30, 1e6);
  cost.doubt();
  EXPECT_LT(cost.of(macroblocks, 30), 1e6);
  EXPECT_GT(cost.of(macroblocks, 30), 5e5);
}

}  // namespace
}  // namespace vesk::picture::VESK_FILE
