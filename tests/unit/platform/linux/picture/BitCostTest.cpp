#include "platform/linux/picture/BitCost.h"

#include <gtest/gtest.h>

#include <cmath>
#include <utility>
#include <vector>

namespace vesk::picture {
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

TEST(BitCostTest, FallsFromEachQuantiserToTheNext) {
  BitCost cost(100, 1);
  cost.learn(macroblocks, 30, 1e6);
  cost.learnAgain(macroblocks, 34, 5e6);
  cost.learnAgain(macroblocks, 33, 1e5);
  cost.doubt();
  for (int quantiser = 12; quantiser <= BitCost::worstQuantiser; ++quantiser) {
    EXPECT_LT(cost.of(macroblocks, quantiser), cost.of(macroblocks, quantiser - 1)) << quantiser;
  }
}

}  // namespace
}  // namespace vesk::picture
