#include "agent/CommandWords.h"

#include <gtest/gtest.h>

namespace vesk::agent::words::VESK_FILE {
namespace {

using namespace std::chrono_literals;

TEST(CommandWordsTest, TakesOneWordAndTheBlankBehindIt) {
  std::string_view text = "  type  a b";
  EXPECT_EQ(takeWord(text), "type");
  EXPECT_EQ(text, " a b");
  EXPECT_EQ(takeWord(text), "a");
  EXPECT_EQ(takeWord(text), "b");
  EXPECT_EQ(takeWord(text), "");
  EXPECT_EQ(text, "");
}

TEST(CommandWordsTest, TrimsBothEnds) {
  EXPECT_EQ(trimmed(" \ta b\r "), "a b");
  EXPECT_EQ(trimmed(" "), "");
}

TEST(CommandWordsTest, ReadsIntegersInBothBases) {
  EXPECT_EQ(integer("65"), 65);
  EXPECT_EQ(integer("-3"), -3);
  EXPECT_EQ(integer("0x41"), 65);
  EXPECT_EQ(integer("0XfF"), 255);
  EXPECT_EQ(integer("9223372036854775807"), INT64_MAX);
  for (const auto* word : {"", "x", "1x", "1.0", "0x", "0x-1", "9223372036854775808", "+1", "1 "}) {
    EXPECT_FALSE(integer(word)) << word;
  }
}

TEST(CommandWordsTest, ReadsFiniteNumbers) {
  EXPECT_EQ(number("0.25"), 0.25);
  EXPECT_EQ(number("-1"), -1);
  EXPECT_EQ(number("1e-3"), 0.001);
  for (const auto* word : {"", "x", "nan", "inf", "1e999", "0,5", "1 2", "true", "\"1\"", "[1]"}) {
    EXPECT_FALSE(number(word)) << word;
  }
}

TEST(CommandWordsTest, ReadsSecondsUpToADay) {
  EXPECT_EQ(seconds("0"), 0ms);
  EXPECT_EQ(seconds("0.0004"), 0ms);
  EXPECT_EQ(seconds("1.5"), 1500ms);
  EXPECT_EQ(seconds("86400"), 24h);
  EXPECT_FALSE(seconds("86401"));
  EXPECT_FALSE(seconds("-0.1"));
  EXPECT_FALSE(seconds(""));
}

TEST(CommandWordsTest, ReadsHexadecimalPairs) {
  EXPECT_EQ(hexadecimal("00 fFA0"), (Bytes{std::byte{0}, std::byte{0xff}, std::byte{0xa0}}));
  EXPECT_EQ(hexadecimal(" "), Bytes{});
  for (const auto* text : {"0", "000", "0 0", "0x00", "g0", "0g"}) {
    EXPECT_FALSE(hexadecimal(text)) << text;
  }
}

}  // namespace
}  // namespace vesk::agent::words::VESK_FILE
