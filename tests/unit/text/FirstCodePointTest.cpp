#include "text/firstCodePoint.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>

namespace vesk::VESK_FILE {
namespace {

/// As value and length, or nothing.
std::optional<std::pair<char32_t, std::size_t>> first(std::string_view utf8) {
  const auto found = firstCodePoint(utf8);
  if (!found) return std::nullopt;
  return std::pair(found->value, found->length);
}

std::pair<char32_t, std::size_t> of(char32_t value, std::size_t length) { return {value, length}; }

TEST(FirstCodePointTest, HasOneToFourBytes) {
  EXPECT_EQ(first("a\xff"), of('a', 1));
  EXPECT_EQ(first(std::string_view("\0", 1)), of(0, 1));
  EXPECT_EQ(first("\x7f"), of(0x7f, 1));
  EXPECT_EQ(first("\u0080a"), of(0x80, 2));
  EXPECT_EQ(first("\u07ff"), of(0x7ff, 2));
  EXPECT_EQ(first("\u0800"), of(0x800, 3));
  EXPECT_EQ(first("\ud7ff"), of(0xd7ff, 3));
  EXPECT_EQ(first("\ue000"), of(0xe000, 3));
  EXPECT_EQ(first("\uffff"), of(0xffff, 3));
  EXPECT_EQ(first("\U00010000\x80"), of(0x10000, 4));
  EXPECT_EQ(first("\U0010ffff"), of(0x10ffff, 4));
}

TEST(FirstCodePointTest, IsNoneWhereTheTextIsMalformed) {
  for (const std::string text :
       {"", "\x80", "\xbf", "\xc3", "\xc3(", "\xe2\x80", "\xe2(\xa1", "\xe2\x82(", "\xf0\x9f\x98",
        "\xf0(\x8c\xbc", "\xf0\x90\x8c(", "\xf8\x88\x80\x80\x80", "\xff"}) {
    EXPECT_EQ(first(text), std::nullopt) << ::testing::PrintToString(text);
  }
}

TEST(FirstCodePointTest, IsNoneWhereFewerBytesWouldDo) {
  for (const std::string text : {"\xc0\x80", "\xc1\xbf", "\xe0\x80\x80", "\xe0\x9f\xbf",
                                 "\xf0\x80\x80\x80", "\xf0\x8f\xbf\xbf"}) {
    EXPECT_EQ(first(text), std::nullopt) << ::testing::PrintToString(text);
  }
}

TEST(FirstCodePointTest, IsNeitherHalfAPairNorBeyondTheLast) {
  for (const std::string text :
       {"\xed\xa0\x80", "\xed\xbf\xbf", "\xf4\x90\x80\x80", "\xf7\xbf\xbf\xbf"}) {
    EXPECT_EQ(first(text), std::nullopt) << ::testing::PrintToString(text);
  }
}

TEST(FirstCodePointTest, LooksNoFurtherThanTheText) {
  EXPECT_EQ(first(std::string_view("日", 2)), std::nullopt);
  EXPECT_EQ(first(std::string_view("😀", 3)), std::nullopt);
}

TEST(IsWellFormedTest, LooksAtAllOfTheText) {
  EXPECT_TRUE(isWellFormed(""));
  EXPECT_TRUE(isWellFormed("aé日😀"));
  EXPECT_FALSE(isWellFormed("aé日\xf0\x9f"));
  EXPECT_FALSE(
      isWellFormed("\xff"
                   "a"));
}

}  // namespace
}  // namespace vesk::VESK_FILE
