#include "input/ClickCount.h"

#include <gtest/gtest.h>

namespace vesk::VESK_FILE {
namespace {

using namespace std::chrono_literals;

const HostTime start{1h};
const ButtonPress first{.time = start, .point = {100, 100}, .button = 0, .count = 1};

TEST(ClickCountTest, GoesOnWithoutEnd) {
  ButtonPress last = first;
  for (int count = 2; count <= 9; ++count) {
    const HostTime time = last.time + 100ms;
    ASSERT_EQ(clickCount(last, time, last.point, 0), count);
    last = {.time = time, .point = last.point, .button = 0, .count = count};
  }
}

TEST(ClickCountTest, StartsAnewAfterHalfASecond) {
  EXPECT_EQ(clickCount(first, start + 499'999'999ns, first.point, 0), 2);
  EXPECT_EQ(clickCount(first, start + 500ms, first.point, 0), 1);
  EXPECT_EQ(clickCount(first, start + 600ms, first.point, 0), 1);
}

TEST(ClickCountTest, StartsAnewFivePointsAwayOnEitherAxis) {
  EXPECT_EQ(clickCount(first, start, {104.999, 100}, 0), 2);
  EXPECT_EQ(clickCount(first, start, {105, 100}, 0), 1);
  EXPECT_EQ(clickCount(first, start, {95.001, 100}, 0), 2);
  EXPECT_EQ(clickCount(first, start, {95, 100}, 0), 1);
  EXPECT_EQ(clickCount(first, start, {100, 104.999}, 0), 2);
  EXPECT_EQ(clickCount(first, start, {100, 105}, 0), 1);
  EXPECT_EQ(clickCount(first, start, {100, 95}, 0), 1);
}

TEST(ClickCountTest, TakesEachAxisAlone) {
  // Nearly seven points away as the crow flies.
  EXPECT_EQ(clickCount(first, start, {104.9, 95.1}, 0), 2);
}

TEST(ClickCountTest, StartsAnewForAnotherButton) {
  EXPECT_EQ(clickCount(first, start, first.point, 1), 1);
  EXPECT_EQ(clickCount(first, start, first.point, 7), 1);
}

}  // namespace
}  // namespace vesk::VESK_FILE
