#include "input/KeyMap.h"

#include <gtest/gtest.h>

#include <map>

namespace vesk::VESK_FILE {
namespace {

constexpr bool plain = false;
constexpr bool extended = true;

/// The whole map as pairs of a Windows code and a Mac key, written down a second time by rows of
/// the keyboard, so that a slip in one of the two shows.
const std::map<int, int> allKeys{// letters by their place on the keyboard
                                 {'Q', 0x0C},
                                 {'W', 0x0D},
                                 {'E', 0x0E},
                                 {'R', 0x0F},
                                 {'T', 0x11},
                                 {'Y', 0x10},
                                 {'U', 0x20},
                                 {'I', 0x22},
                                 {'O', 0x1F},
                                 {'P', 0x23},
                                 {'A', 0x00},
                                 {'S', 0x01},
                                 {'D', 0x02},
                                 {'F', 0x03},
                                 {'G', 0x05},
                                 {'H', 0x04},
                                 {'J', 0x26},
                                 {'K', 0x28},
                                 {'L', 0x25},
                                 {'Z', 0x06},
                                 {'X', 0x07},
                                 {'C', 0x08},
                                 {'V', 0x09},
                                 {'B', 0x0B},
                                 {'N', 0x2D},
                                 {'M', 0x2E},
                                 // digits
                                 {'1', 0x12},
                                 {'2', 0x13},
                                 {'3', 0x14},
                                 {'4', 0x15},
                                 {'5', 0x17},
                                 {'6', 0x16},
                                 {'7', 0x1A},
                                 {'8', 0x1C},
                                 {'9', 0x19},
                                 {'0', 0x1D},
                                 // punctuation
                                 {192, 0x32},
                                 {189, 0x1B},
                                 {187, 0x18},
                                 {219, 0x21},
                                 {221, 0x1E},
                                 {220, 0x2A},
                                 {186, 0x29},
                                 {222, 0x27},
                                 {188, 0x2B},
                                 {190, 0x2F},
                                 {191, 0x2C},
                                 {226, 0x0A},
                                 // editing and moving
                                 {8, 0x33},
                                 {9, 0x30},
                                 {13, 0x24},
                                 {27, 0x35},
                                 {32, 0x31},
                                 {33, 0x74},
                                 {34, 0x79},
                                 {35, 0x77},
                                 {36, 0x73},
                                 {37, 0x7B},
                                 {38, 0x7E},
                                 {39, 0x7C},
                                 {40, 0x7D},
                                 {45, 0x72},
                                 {46, 0x75},
                                 // modifiers
                                 {16, 0x38},
                                 {17, 0x3B},
                                 {18, 0x3A},
                                 {20, 0x39},
                                 {91, 0x37},
                                 {92, 0x36},
                                 {160, 0x38},
                                 {161, 0x3C},
                                 {162, 0x3B},
                                 {163, 0x3E},
                                 {164, 0x3A},
                                 {165, 0x3D},
                                 // keypad
                                 {96, 0x52},
                                 {97, 0x53},
                                 {98, 0x54},
                                 {99, 0x55},
                                 {100, 0x56},
                                 {101, 0x57},
                                 {102, 0x58},
                                 {103, 0x59},
                                 {104, 0x5B},
                                 {105, 0x5C},
                                 {106, 0x43},
                                 {107, 0x45},
                                 {109, 0x4E},
                                 {110, 0x41},
                                 {111, 0x4B},
                                 {144, 0x47},
                                 // function keys
                                 {112, 0x7A},
                                 {113, 0x78},
                                 {114, 0x63},
                                 {115, 0x76},
                                 {116, 0x60},
                                 {117, 0x61},
                                 {118, 0x62},
                                 {119, 0x64},
                                 {120, 0x65},
                                 {121, 0x6D},
                                 {122, 0x67},
                                 {123, 0x6F}};

TEST(KeyMapTest, KnowsTheseKeysAndNoOthers) {
  ASSERT_EQ(allKeys.size(), 26U + 10U + 67U);
  for (int code = -70000; code <= 70000; ++code) {
    const auto expected = allKeys.find(code);
    const auto found = KeyMap::macKey(code, plain);
    ASSERT_EQ(found.has_value(), expected != allKeys.end()) << code;
    if (found) {
      EXPECT_EQ(*found, expected->second) << code;
    }
  }
}

TEST(KeyMapTest, TellsTheEnterKeysApartAndNothingElse) {
  EXPECT_EQ(KeyMap::macKey(0x0D, plain), KeyCode{0x24});
  EXPECT_EQ(KeyMap::macKey(0x0D, extended), KeyCode{0x4C});
  for (int code = 0; code <= 300; ++code) {
    if (code == 0x0D) continue;
    EXPECT_EQ(KeyMap::macKey(code, extended), KeyMap::macKey(code, plain)) << code;
  }
}

TEST(KeyMapTest, FindsNothingAtTheEndsOfTheIntegers) {
  EXPECT_FALSE(KeyMap::macKey(INT64_MIN, plain));
  EXPECT_FALSE(KeyMap::macKey(INT64_MAX, extended));
  // Narrowed to 16 or 32 bits these would be the letter A.
  EXPECT_FALSE(KeyMap::macKey(0x10041, plain));
  EXPECT_FALSE(KeyMap::macKey(0x100000041, plain));
}

TEST(ModifierFlagTest, IsSharedByTheTwoKeysOfAPair) {
  const std::map<int, EventFlags> flags{{0x36, 0x100000}, {0x37, 0x100000}, {0x38, 0x20000},
                                        {0x39, 0x10000},  {0x3A, 0x80000},  {0x3B, 0x40000},
                                        {0x3C, 0x20000},  {0x3D, 0x80000},  {0x3E, 0x40000}};
  for (int key = 0; key <= 0xFFFF; ++key) {
    const auto expected = flags.find(key);
    const auto found = KeyMap::modifierFlag(static_cast<KeyCode>(key));
    ASSERT_EQ(found.has_value(), expected != flags.end()) << key;
    if (found) {
      EXPECT_EQ(*found, expected->second) << key;
    }
  }
}

}  // namespace
}  // namespace vesk::VESK_FILE
