#include "platform/linux/keys/KeyPositions.h"

#include <gtest/gtest.h>

#include <set>
#include <string>

#include "input/KeyMap.h"

namespace vesk::keys::VESK_FILE {
namespace {

TEST(KeyPositionsTest, GiveEveryKeyOfTheKeyMapAPlaceOfItsOwn) {
  std::set<KeyCode> keys{0x4C};
  for (std::int64_t code = 0; code < 256; ++code)
    if (const auto key = KeyMap::macKey(code, /*extended=*/false)) keys.insert(*key);
  std::set<std::string_view> positions;
  for (const auto key : keys) {
    EXPECT_FALSE(keyPosition(key).empty()) << key;
    EXPECT_TRUE(positions.insert(keyPosition(key)).second) << key;
  }
  EXPECT_EQ(keys.size(), 101U);
}

TEST(KeyPositionsTest, AreThoseOfTheAnsiLayout) {
  const auto row = [](std::string_view letters) {
    std::string text;
    for (const char letter : letters) {
      text += keyPosition(*KeyMap::macKey(letter, /*extended=*/false));
      text += ' ';
    }
    return text;
  };
  EXPECT_EQ(row("1234567890"), "AE01 AE02 AE03 AE04 AE05 AE06 AE07 AE08 AE09 AE10 ");
  EXPECT_EQ(row("QWERTYUIOP"), "AD01 AD02 AD03 AD04 AD05 AD06 AD07 AD08 AD09 AD10 ");
  EXPECT_EQ(row("ASDFGHJKL"), "AC01 AC02 AC03 AC04 AC05 AC06 AC07 AC08 AC09 ");
  EXPECT_EQ(row("ZXCVBNM"), "AB01 AB02 AB03 AB04 AB05 AB06 AB07 ");
}

TEST(KeyPositionsTest, AreNoneForOtherCodes) {
  EXPECT_TRUE(keyPosition(0x34).empty());
  EXPECT_TRUE(keyPosition(0x5A).empty());
  EXPECT_TRUE(keyPosition(0x7F).empty());
  EXPECT_TRUE(keyPosition(0x80).empty());
  EXPECT_TRUE(keyPosition(0xFFFF).empty());
}

TEST(KeypadDigitTest, IsADigitOrTheDecimalSign) {
  std::set<KeyCode> digits;
  for (int key = 0; key <= 0xFFFF; ++key)
    if (isKeypadDigit(static_cast<KeyCode>(key)) && !keyPosition(static_cast<KeyCode>(key)).empty())
      digits.insert(static_cast<KeyCode>(key));
  EXPECT_EQ(digits,
            (std::set<KeyCode>{0x41, 0x52, 0x53, 0x54, 0x55, 0x56, 0x57, 0x58, 0x59, 0x5B, 0x5C}));
}

}  // namespace
}  // namespace vesk::keys::VESK_FILE
