#include "text/CharacterStarts.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>

namespace vesk::VESK_FILE {
namespace {

/// A digit for each code point: 1 where a character begins.
std::string starts(std::u32string_view text) {
  CharacterStarts starts;
  std::string found;
  for (const char32_t each : text) found += starts.startsCharacter(each) ? '1' : '0';
  return found;
}

TEST(CharacterStartsTest, BeginAtEveryPlainLetter) {
  EXPECT_EQ(starts(U""), "");
  EXPECT_EQ(starts(U"a b日\u00e9😀"), "111111");
}

TEST(CharacterStartsTest, JoinMarksToWhatStandsBefore) {
  EXPECT_EQ(starts(U"e\u0301\u0323x"), "1001");
  EXPECT_EQ(starts(U"\u0301a"), "11");
  EXPECT_EQ(starts(U"\u0915\u093f\u0915"), "101");
  EXPECT_EQ(starts(U"1\ufe0f\u20e3"), "100");
  EXPECT_EQ(starts(U"a\u200db"), "101");
}

TEST(CharacterStartsTest, JoinWhatStandsInFrontOfALetter) {
  EXPECT_EQ(starts(U"\u0600"
                   U"1"),
            "10");
  EXPECT_EQ(starts(U"\u0600\n"), "11");
}

TEST(CharacterStartsTest, BreakAroundControlsButNotInALineEnd) {
  EXPECT_EQ(starts(U"\r\n\n\r"), "1011");
  EXPECT_EQ(starts(U"\n\u0301"), "11");
  EXPECT_EQ(starts(U"a\u200b\u0301"), "111");
  EXPECT_EQ(starts(U"a\r\u0301"), "111");
}

TEST(CharacterStartsTest, JoinThePartsOfHangulSyllables) {
  EXPECT_EQ(starts(U"\u1112\u1161\u11ab"), "100");
  EXPECT_EQ(starts(U"\u1112\u1112\uac00\u11ab"), "1000");
  EXPECT_EQ(starts(U"\uac00\u1161"), "10");
  EXPECT_EQ(starts(U"\uac01\u11ab"), "10");
  EXPECT_EQ(starts(U"\uac01\u1161"), "11");
  EXPECT_EQ(starts(U"\uac00\uac01"), "11");
  EXPECT_EQ(starts(U"\u1161\u1112"), "11");
  EXPECT_EQ(starts(U"\u11ab\u1161"), "11");
  EXPECT_EQ(starts(U"\u1112\ud7a3"), "10");
}

TEST(CharacterStartsTest, JoinPicturesByJoinersAlone) {
  EXPECT_EQ(starts(U"👨\u200d👩\u200d👧"), "10000");
  EXPECT_EQ(starts(U"👍🏽👍"), "101");
  EXPECT_EQ(starts(U"👨\ufe0f\u200d👩"), "1000");
  EXPECT_EQ(starts(U"👨👩"), "11");
  EXPECT_EQ(starts(U"a\u200d👩"), "101");
  EXPECT_EQ(starts(U"👨\u200d\u200d👩"), "1001");
  EXPECT_EQ(starts(U"👨a\u200d👩"), "1101");
}

TEST(CharacterStartsTest, MakeAFlagOfTwoIndicators) {
  EXPECT_EQ(starts(U"🇩🇪🇫🇷🇩"), "10101");
  EXPECT_EQ(starts(U"🇩a🇪🇫"), "1110");
  EXPECT_EQ(starts(U"🇩\u0301🇪🇫"), "1010");
}

}  // namespace
}  // namespace vesk::VESK_FILE
