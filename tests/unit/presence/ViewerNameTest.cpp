#include "presence/ViewerName.h"

#include <gtest/gtest.h>

namespace vesk::VESK_FILE {
namespace {

TEST(ViewerNameTest, IsShownAsItIs) {
  for (const std::string name : {"Ada", " Ada  Lovelace ", "<b>Ada</b> & Søn", "日本 太郎",
                                 "😀🎉👩‍💻", "Don't", "a\u00a0b"}) {
    EXPECT_EQ(viewerNameForDisplay(name), name);
  }
}

TEST(ViewerNameTest, IsTheSupportsWhereNothingCanBeSeen) {
  for (const std::string name : {"",
                                 " ",
                                 "\n",
                                 "\t\u00a0\u2003\u3000",
                                 "\u202e",
                                 "\u200b",
                                 "\u200d\ufeff\u2060",
                                 "\u00ad",
                                 "\u115f\u1160\u3164\uffa0",
                                 "\ufff9\ufffa\ufffb",
                                 "\u2800",
                                 "\U000e0041",
                                 "\ufe0f",
                                 "\u180e",
                                 "\U0001d173",
                                 "\ufffc",
                                 "\u0301",
                                 "\u0301\u0301\u0323",
                                 "\u200b\u0301",
                                 "\u202e\u20e3"}) {
    EXPECT_EQ(viewerNameForDisplay(name), "Vesk support") << name;
  }
}

TEST(ViewerNameTest, IsTheViewersWhereAnythingCanBeSeen) {
  for (const std::string name :
       {".", "\u200b.", " \u0301", "\ufffc.", "\u0301A", "\U000f0000", "\u200dA\u200d", "\ufffd"}) {
    EXPECT_EQ(viewerNameForDisplay(name), name);
  }
}

TEST(ViewerNameTest, IsCutTo64CharactersAsReadersCountThem) {
  const auto repeated = [](const std::string& text, int times) {
    std::string result;
    for (int i = 0; i < times; ++i) result += text;
    return result;
  };
  for (const std::string character : {"W", "日", "e\u0301\u0323", "👍🏽"}) {
    EXPECT_EQ(viewerNameForDisplay(repeated(character, 64)), repeated(character, 64));
    EXPECT_EQ(viewerNameForDisplay(repeated(character, 65)), repeated(character, 64));
  }
  EXPECT_EQ(viewerNameForDisplay(repeated("\u202e", 64) + "Ada"), "Ada");
  EXPECT_EQ(viewerNameForDisplay(repeated(" ", 64) + "Ada"), "Vesk support");
  EXPECT_EQ(viewerNameForDisplay(repeated("W", 64) + "שרה"), repeated("W", 64));
}

TEST(ViewerNameTest, IsCutToAKibibyteBetweenCodePoints) {
  std::string tower = "A";
  while (tower.size() < 300'000) tower += "\u0301";
  EXPECT_EQ(viewerNameForDisplay(tower), tower.substr(0, 1023));
  EXPECT_EQ(withinNameBounds(tower), tower.substr(0, 1023));
  EXPECT_EQ(withinNameBounds(tower.substr(1)), tower.substr(1, 1024));
  EXPECT_EQ(withinNameBounds("Ada"), "Ada");
  EXPECT_EQ(withinNameBounds(std::string(1024, 'x')), std::string(1024, 'x'));
  EXPECT_EQ(withinNameBounds(std::string(2000, '\x80')), "");
}

TEST(ViewerNameTest, IsCutWhereItIsMalformedToo) {
  EXPECT_EQ(viewerNameForDisplay(std::string(100, '\xff')), std::string(64, '\xff'));
}

TEST(ViewerNameTest, StaysInOneLine) {
  EXPECT_EQ(viewerNameForDisplay("a\nb\rc\td\ve\ff"), "a b c d e f");
  EXPECT_EQ(viewerNameForDisplay("a\u0085b\u2028c\u2029d"), "a b c d");
  EXPECT_EQ(viewerNameForDisplay("a\x01z\x1f\u0080z\u009f"), "a z  z ");
  EXPECT_EQ(viewerNameForDisplay(std::string("a\0b\x7f"
                                             "c\x1b[1m",
                                             9)),
            "a b c [1m");
}

/// What looks like the beginning of a longer character takes nothing with it that is none of it.
TEST(ViewerNameTest, StaysInOneLineBehindMalformedText) {
  for (const std::string bytes : {"\x80", "\xc0", "\xc1", "\xc3", "\xdf", "\xe2", "\xe2\x80",
                                  "\xef", "\xf0\x9f", "\xf0\x9f\x98", "\xf7", "\xf8", "\xff"}) {
    EXPECT_EQ(viewerNameForDisplay("A" + bytes + "\nB\n\nC"), "A" + bytes + " B  C");
  }
}

TEST(ViewerNameTest, CannotTurnTheDirectionOfWriting) {
  EXPECT_EQ(viewerNameForDisplay("A\u202eda\u202c"), "Ada");
  EXPECT_EQ(viewerNameForDisplay("\u200e\u200f\u061c\u202a\u202b\u202dAda"), "Ada");
  EXPECT_EQ(viewerNameForDisplay("\u2066\u2067\u2068\u2069\u2069"
                                 "Ada"),
            "Ada");
  // Those right outside the blocks of such marks.
  const std::string others = "A\u200d\u2010\u202f\u2065\u206a";
  EXPECT_EQ(viewerNameForDisplay(others), others);
  EXPECT_EQ(viewerNameForDisplay("\u061b\u061d"), "\u2068\u061b\u061d\u2069");
}

TEST(ViewerNameTest, IsIsolatedWhereItRunsFromRightToLeft) {
  EXPECT_EQ(viewerNameForDisplay("שרה"), "\u2068שרה\u2069");
  EXPECT_EQ(viewerNameForDisplay("Ada محمد"),
            "\u2068"
            "Ada محمد\u2069");
  EXPECT_EQ(viewerNameForDisplay("\u2069שרה\u2069 12"), "\u2068שרה 12\u2069");
  EXPECT_EQ(viewerNameForDisplay("\U0001e900"), "\u2068\U0001e900\u2069");
}

/// The first and the last character of each block of such scripts, and those right outside.
TEST(ViewerNameTest, KnowsEveryScriptThatRunsFromRightToLeft) {
  for (const std::string letter : {"\u0590", "\u08ff", "\ufb1d", "\ufdff", "\ufe70", "\ufeff",
                                   "\U00010800", "\U00010fff", "\U0001e800", "\U0001efff"}) {
    EXPECT_EQ(viewerNameForDisplay("A" + letter),
              "\u2068"
              "A" +
                  letter + "\u2069")
        << letter;
  }
  for (const std::string letter : {"\u058f", "\u0900", "\ufb1c", "\ufe00", "\ufe6f", "\uff00",
                                   "\U000107ff", "\U00011000", "\U0001e7ff", "\U0001f000"}) {
    EXPECT_EQ(viewerNameForDisplay("A" + letter), "A" + letter) << letter;
  }
}

TEST(ViewerNameTest, PassesMalformedTextThrough) {
  for (const std::string name : {"\xff", "a\xc3", "\xe2\x80", "\xf0\x9f",
                                 "\x80"
                                 "a",
                                 "\xc0"}) {
    EXPECT_EQ(viewerNameForDisplay(name), name);
  }
}

}  // namespace
}  // namespace vesk::VESK_FILE
