#include "platform/linux/x11/input/KeyLevels.h"

#include <gtest/gtest.h>

#include <array>

namespace vesk::x11::input::VESK_FILE {
namespace {

constexpr XModifiers shift = XCB_MOD_MASK_SHIFT;
constexpr XModifiers lock = XCB_MOD_MASK_LOCK;
constexpr XModifiers control = XCB_MOD_MASK_CONTROL;
constexpr XModifiers alt = XCB_MOD_MASK_1;
constexpr XModifiers third = XCB_MOD_MASK_5;

const KeyType one{.width = 1, .entries = {}};
const KeyType two{.width = 2, .entries = {{shift, 1}}};
const KeyType alphabetic{.width = 2, .entries = {{shift, 1}, {lock, 1}}};
const KeyType four{.width = 4, .entries = {{shift, 1}, {third, 2}, {shift | third, 3}}};

TEST(KeyLevelsTest, AreOneWhereTheMapSaysNothing) {
  EXPECT_EQ(mostLevels({}), KeyLevels::single());
  EXPECT_EQ(mostLevels(std::array{one}).reached.size(), 1U);
}

TEST(KeyLevelsTest, AreAsManyAsAnyTypeHas) {
  const auto levels = mostLevels(std::array{one, two, alphabetic, four, two});
  EXPECT_EQ(levels.type, 3);
  EXPECT_EQ(levels.width, 4);
  EXPECT_EQ(levels.reached,
            (std::vector<KeyType::Entry>{{0, 0}, {shift, 1}, {third, 2}, {shift | third, 3}}));
}

TEST(KeyLevelsTest, ArePlainestFirst) {
  const KeyType type{.width = 4, .entries = {{shift | third, 1}, {shift, 2}, {third, 3}}};
  EXPECT_EQ(mostLevels(std::array{type}).reached,
            (std::vector<KeyType::Entry>{{0, 0}, {shift, 2}, {third, 3}, {shift | third, 1}}));
}

TEST(KeyLevelsTest, AreNotReachedByCommandsOrLocks) {
  const KeyType type{.width = 5,
                     .entries = {{control, 1}, {alt, 2}, {lock, 3}, {shift | control, 4}}};
  EXPECT_EQ(mostLevels(std::array{one, type, two}).type, 2);
}

TEST(KeyLevelsTest, AreWhatTheFirstEntryOfTheModifiersSays) {
  const KeyType type{.width = 4, .entries = {{shift, 1}, {shift, 2}, {third, 1}, {third, 3}}};
  EXPECT_EQ(mostLevels(std::array{type}).reached,
            (std::vector<KeyType::Entry>{{0, 0}, {shift, 1}}));
}

TEST(KeyLevelsTest, LeaveOutWhatNoModifiersReach) {
  const KeyType type{.width = 3, .entries = {{0, 1}, {shift, 2}, {third, 7}}};
  EXPECT_EQ(mostLevels(std::array{type}).reached,
            (std::vector<KeyType::Entry>{{0, 1}, {shift, 2}}));
}

TEST(KeyLevelsTest, AreOfTheNarrowestTypeOfEqualOnes) {
  KeyType wide = four;
  wide.width = 8;
  EXPECT_EQ(mostLevels(std::array{wide, four}).type, 1);
}

}  // namespace
}  // namespace vesk::x11::input::VESK_FILE
