#include "input/ModifierMask.h"

#include <gtest/gtest.h>

namespace vesk::VESK_FILE {
namespace {

TEST(ModifierMaskTest, NamesFourFlags) {
  EXPECT_EQ(flagsOfMask(0), 0U);
  EXPECT_EQ(flagsOfMask(1), eventFlag::shift);
  EXPECT_EQ(flagsOfMask(2), eventFlag::control);
  EXPECT_EQ(flagsOfMask(4), eventFlag::alternate);
  EXPECT_EQ(flagsOfMask(8), eventFlag::command);
  EXPECT_EQ(flagsOfMask(15), 0x1E0000U);
}

TEST(ModifierMaskTest, IgnoresHigherBits) {
  EXPECT_EQ(flagsOfMask(16), 0U);
  EXPECT_EQ(flagsOfMask(17), eventFlag::shift);
  EXPECT_EQ(flagsOfMask(INT64_MIN), 0U);
  EXPECT_EQ(flagsOfMask(INT64_MAX), 0x1E0000U);
  EXPECT_EQ(flagsOfMask(-1), 0x1E0000U);
}

TEST(ModifierMaskTest, LeavesCapsLockAsItIs) {
  EXPECT_EQ(wantedFlags(0, eventFlag::alphaShift | eventFlag::shift), eventFlag::alphaShift);
  EXPECT_EQ(wantedFlags(2, eventFlag::alphaShift), eventFlag::alphaShift | eventFlag::control);
  EXPECT_EQ(wantedFlags(2, eventFlag::shift), eventFlag::control);
}

}  // namespace
}  // namespace vesk::VESK_FILE
