#include "capture/chosenDisplay.h"

#include <gtest/gtest.h>

#include <vector>

namespace vesk::VESK_FILE {
namespace {

const std::vector<ShareableDisplay> displays{{7, 100, 50}, {3, 200, 60}, {9, 300, 70}};

TEST(ChosenDisplayTest, IsTheMainOneWhereverItStands) {
  for (const auto& display : displays) {
    const auto chosen = chosenDisplay(displays, display.displayID);
    ASSERT_TRUE(chosen);
    EXPECT_EQ(chosen->displayID, display.displayID);
    EXPECT_EQ(chosen->width, display.width);
  }
}

TEST(ChosenDisplayTest, IsTheFirstOneWhenTheMainOneIsMissing) {
  EXPECT_EQ(chosenDisplay(displays, 4)->displayID, 7U);
  EXPECT_EQ(chosenDisplay(displays, 0)->displayID, 7U);
}

TEST(ChosenDisplayTest, IsNoneOfNone) { EXPECT_FALSE(chosenDisplay({}, 7)); }

}  // namespace
}  // namespace vesk::VESK_FILE
