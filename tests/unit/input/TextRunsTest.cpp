#include "input/TextRuns.h"

#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <numeric>

namespace vesk::VESK_FILE {
namespace {

using Runs = std::vector<std::u16string>;

std::u16string joined(const Runs& runs) {
  return std::accumulate(runs.begin(), runs.end(), std::u16string());
}

std::string repeated(std::string_view text, int times) {
  std::string result;
  for (int i = 0; i < times; ++i) result += text;
  return result;
}

TEST(TextRunsTest, AreNoneForNoText) { EXPECT_EQ(textRuns(""), Runs{}); }

TEST(TextRunsTest, HoldSixteenUnitsEach) {
  EXPECT_EQ(textRuns("a"), Runs{u"a"});
  EXPECT_EQ(textRuns(std::string(16, 'a')), Runs{std::u16string(16, u'a')});
  EXPECT_EQ(textRuns(std::string(17, 'a')), (Runs{std::u16string(16, u'a'), u"a"}));
  EXPECT_EQ(textRuns("0123456789abcdefghijklmnopqrstuvwxyz!?+-"),
            (Runs{u"0123456789abcdef", u"ghijklmnopqrstuv", u"wxyz!?+-"}));
}

TEST(TextRunsTest, ConvertEveryWidth) {
  EXPECT_EQ(textRuns("aé日😀\uFFFF\U00010000\U0010FFFF"),
            Runs{u"a\u00e9\u65e5\xd83d\xde00\xffff\xd800\xdc00\xdbff\xdfff"});
}

TEST(TextRunsTest, EndWhereTheTextIsCutOffOrMalformed) {
  EXPECT_EQ(textRuns(std::string_view("a日", 3)), Runs{u"a"});
  EXPECT_EQ(textRuns("a\xff!"), Runs{u"a"});
}

TEST(TextRunsTest, KeepAZeroCharacter) {
  EXPECT_EQ(textRuns(std::string_view("a\0b", 3)), Runs{std::u16string(u"a\0b", 3)});
}

TEST(TextRunsTest, CutBetweenTheHalvesOfAPair) {
  const auto runs = textRuns("123456789012345😀!");
  ASSERT_EQ(runs.size(), 2U);
  EXPECT_EQ(runs[0], u"123456789012345\xd83d");
  EXPECT_EQ(runs[1], u"\xde00!");
}

TEST(TextRunsTest, DropWhatComesAfter512Characters) {
  EXPECT_EQ(joined(textRuns(std::string(511, 'a'))), std::u16string(511, u'a'));
  EXPECT_EQ(joined(textRuns(std::string(512, 'a'))), std::u16string(512, u'a'));
  const auto runs = textRuns(std::string(512, 'a') + std::string(88, 'b'));
  EXPECT_EQ(runs.size(), 32U);
  EXPECT_EQ(joined(runs), std::u16string(512, u'a'));
}

TEST(TextRunsTest, CountCharactersAsReadersDo) {
  // Each is one character of several code points: a letter with marks, a flag, a tone of skin, a
  // keycap, Hangul from its parts, a line end, Devanagari with a vowel sign.
  for (const std::string_view character :
       {"e\u0301\u0323", "🇩🇪", "👍🏽", "1️⃣", "\u1112\u1161\u11ab", "\r\n", "कि"}) {
    const std::string kept = repeated(character, 512);
    const auto units = joined(textRuns(kept));
    EXPECT_EQ(joined(textRuns(kept + "b")), units) << character;
    EXPECT_EQ(joined(textRuns(kept + std::string(character))), units) << character;
    EXPECT_EQ(joined(textRuns(repeated(character, 511) + "b")).size(), units.size() / 512 * 511 + 1)
        << character;
  }
}

TEST(TextRunsTest, DropWhatComesAfter2048UnitsWithoutCuttingACharacter) {
  const std::string tower = "a" + repeated("\u0301", 2047);
  EXPECT_EQ(joined(textRuns(tower)).size(), 2048U);
  EXPECT_EQ(joined(textRuns(tower + "b")).size(), 2048U);
  EXPECT_EQ(joined(textRuns(tower + "\u0301")).size(), 0U);
  EXPECT_EQ(joined(textRuns("x" + tower)), u"x");
  // Marks of three bytes, as many as a unit can take.
  const std::string wide = "日" + repeated("\u20d0", 2047);
  EXPECT_EQ(joined(textRuns(wide)).size(), 2048U);
  EXPECT_EQ(joined(textRuns(wide + "\u20d0")).size(), 0U);
  // A family is eleven units: 186 of them are 2046.
  const std::string family = "👨‍👩‍👧‍👦";
  EXPECT_EQ(joined(textRuns(repeated(family, 512))).size(), 186U * 11U);
  EXPECT_EQ(joined(textRuns(repeated(family, 186) + "ab")).size(), 2048U);
  EXPECT_EQ(joined(textRuns(repeated(family, 186) + "a😀")).size(), 2047U);
  EXPECT_EQ(joined(textRuns(repeated(family, 186) + "a日c")).size(), 2048U);
}

TEST(TextRunsTest, LookNoFurtherThanTheyType) {
  // As large as a message can be, and worth nothing.
  const std::string tower = "a" + repeated("\u0301", 500'000);
  EXPECT_EQ(joined(textRuns(tower)).size(), 0U);
  EXPECT_EQ(joined(textRuns("ok" + tower)), u"ok");
  EXPECT_EQ(joined(textRuns(repeated("日", 300'000))), joined(textRuns(repeated("日", 512))));
}

/// Text of which only the beginning is there: whoever looks further dies of it.
TEST(TextRunsTest, DoNotEvenTouchWhatLiesFarBeyond) {
  const auto there = std::max<std::size_t>(static_cast<std::size_t>(::sysconf(_SC_PAGESIZE)), 8192);
  void* const memory = ::mmap(nullptr, 2 * there, PROT_READ | PROT_WRITE,
                              MAP_PRIVATE | MAP_ANONYMOUS, /*fd=*/-1, /*offset=*/0);
  ASSERT_NE(memory, MAP_FAILED);
  auto* const text = static_cast<char*>(memory);
  std::fill_n(text, there, 'a');
  ASSERT_EQ(::mprotect(text + there, there, PROT_NONE), 0);
  EXPECT_EQ(joined(textRuns({text, 2 * there})), std::u16string(512, u'a'));
  EXPECT_EQ(::munmap(memory, 2 * there), 0);
}

}  // namespace
}  // namespace vesk::VESK_FILE
