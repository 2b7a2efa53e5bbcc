#include "capture/averageBitRate.h"

#include <gtest/gtest.h>

#include <limits>

namespace vesk::VESK_FILE {
namespace {

TEST(AverageBitRateTest, IsAThousandTimesTheKilobits) {
  EXPECT_EQ(averageBitRate(4000), 4'000'000);
  EXPECT_EQ(averageBitRate(201), 201'000);
}

TEST(AverageBitRateTest, IsAtLeastTwoHundredKilobits) {
  EXPECT_EQ(averageBitRate(0), 200'000);
  EXPECT_EQ(averageBitRate(-4000), 200'000);
  EXPECT_EQ(averageBitRate(150), 200'000);
}

constexpr std::int64_t largest = std::numeric_limits<std::int64_t>::max() / 1000;

TEST(AverageBitRateTest, HoldsForTheLargestNumber) {
  EXPECT_EQ(averageBitRate(largest), largest * 1000);
}

TEST(AverageBitRateDeathTest, EndsTheProcessBeyondItsRange) {
  EXPECT_DEATH(averageBitRate(largest + 1), "a bit rate does not fit 64 bits");
}

}  // namespace
}  // namespace vesk::VESK_FILE
