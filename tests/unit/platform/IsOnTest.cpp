#include "platform/isOn.h"

#include <gtest/gtest.h>

namespace vesk::VESK_FILE {
namespace {

constexpr Rect screen{{100, 50}, 200, 100};

TEST(IsOnTest, GoesByTheMiddleOfTheWindow) {
  EXPECT_TRUE(isOn(screen, screen));
  EXPECT_TRUE(isOn(screen, {{0, 0}, 200, 100}));
  EXPECT_FALSE(isOn(screen, {{0, 0}, 198, 100}));
  EXPECT_FALSE(isOn(screen, {{0, 0}, 200, 98}));
}

TEST(IsOnTest, LeavesTheFarEdgesToTheNeighbours) {
  EXPECT_TRUE(isOn(screen, {{298, 148}, 2, 2}));
  EXPECT_FALSE(isOn(screen, {{299, 140}, 2, 2}));
  EXPECT_FALSE(isOn(screen, {{290, 149}, 2, 2}));
}

}  // namespace
}  // namespace vesk::VESK_FILE
