#include "presence/ViewerName.h"

#include <gtest/gtest.h>

namespace vesk {
namespace {

TEST(ViewerNameTest, IsShownAsItIs) {
  for (const std::string name : {"Ada", " Ada  Lovelace ", "<b>Ada</b> & Søn", "日本 太郎",
                                 "😀🎉👩‍💻", "Don't", "a\u00a0b"}) {
    EXPECT_EQ(viewerNameForDisplay(name), name);
  }
}

TEST(ViewerNameTest, IsTheSupportsOnlyWhereThereAreNoCharacters) {
  EXPECT_EQ(viewerNameForDisplay(""), "Vesk support");
  EXPECT_EQ(viewerNameForDisplay(" "), " ");
}

TEST(ViewerNameTest, StaysInOneLine) {
  EXPECT_EQ(viewerNameForDisplay("a\nb\rc\td\ve\ff"), "a b c d e f");
  EXPECT_EQ(viewerNameForDisplay("a\u0085b\u2028c\u2029d"), "a b c d");
  EXPECT_EQ(viewerNameForDisplay(std::string("a\0b\x7f"
                                             "c\x1b[1m",
                                             9)),
            "a b c [1m");
  EXPECT_EQ(viewerNameForDisplay("\n"), " ");
}

TEST(ViewerNameTest, CannotTurnTheDirectionOfWriting) {
  EXPECT_EQ(viewerNameForDisplay("A\u202eda\u202c"), "Ada");
  EXPECT_EQ(viewerNameForDisplay("\u200e\u200f\u061c\u202a\u202b\u202dAda"), "Ada");
  EXPECT_EQ(viewerNameForDisplay("\u2066\u2067\u2068\u2069\u2069"
                                 "Ada"),
            "Ada");
}

TEST(ViewerNameTest, IsIsolatedWhereItRunsFromRightToLeft) {
  EXPECT_EQ(viewerNameForDisplay("שרה"), "\u2068שרה\u2069");
  EXPECT_EQ(viewerNameForDisplay("Ada محمد"),
            "\u2068"
            "Ada محمد\u2069");
  EXPECT_EQ(viewerNameForDisplay("\u2069שרה\u2069 12"), "\u2068שרה 12\u2069");
  EXPECT_EQ(viewerNameForDisplay("\U0001e900"), "\u2068\U0001e900\u2069");
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
}  // namespace vesk
