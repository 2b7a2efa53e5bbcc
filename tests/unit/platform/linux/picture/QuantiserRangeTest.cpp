#include "platform/linux/picture/QuantiserRange.h"

#include <gtest/gtest.h>

namespace vesk::picture::VESK_FILE {
namespace {

TEST(QuantiserRangeTest, EndsWithTheStandardWhereEachMacroblockHasItsBits) {
  const QuantiserRange range = quantiserRangeFor(8160, 816'000);
  EXPECT_EQ(range, QuantiserRange{});
  EXPECT_EQ(range.finest, 11);
  EXPECT_EQ(range.worst, 51);
}

TEST(QuantiserRangeTest, GoesBeyondTheStandardWhereBitsAreScarce) {
  const QuantiserRange range = quantiserRangeFor(8160, 815'999);
  EXPECT_EQ(range.finest, 26);
  EXPECT_EQ(range.worst, 54);
}

TEST(QuantiserRangeTest, HasNoMoreStepsThanTheEncoder) {
  EXPECT_LE(QuantiserRange{}.worst - QuantiserRange{}.finest, 40);
}

}  // namespace
}  // namespace vesk::picture::VESK_FILE
