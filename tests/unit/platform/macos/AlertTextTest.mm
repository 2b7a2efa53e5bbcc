#include "platform/macos/AlertText.h"

#include <gtest/gtest.h>

#include "platform/macos/Text.h"

namespace vesk::mac {
namespace {

std::string elided(const std::string& text) { return toUtf8(elidedParagraph(text)); }

TEST(AlertTextTest, KeepsWhatFits) {
  EXPECT_EQ(elided("Anna would like to view your screen"), "Anna would like to view your screen");
  EXPECT_EQ(elided(""), "");
}

TEST(AlertTextTest, MakesOneParagraphOfManyLines) {
  EXPECT_EQ(elided(" Anna\n\nor \t Berta\r\n"), "Anna or Berta");
}

TEST(AlertTextTest, LosesTheMiddleOfALongTextAndKeepsItsEnd) {
  const std::string end(" would like to view your screen");
  const std::string text = elided(std::string(5000, 'x') + end);
  EXPECT_LE(text.size(), 210U);
  EXPECT_TRUE(text.starts_with("xxx"));
  EXPECT_TRUE(text.ends_with("xxx" + end));
  EXPECT_NE(text.find("…"), std::string::npos);
}

TEST(AlertTextTest, LosesTheMiddleOfALetterThatNeverEnds) {
  std::string name("e");
  for (int i = 0; i < 500; ++i) name += "\u0301";
  const NSUInteger most = 210;
  const std::string end(" would like to view your screen");
  EXPECT_LE(elidedParagraph(name + end).length, most);
  const std::string text = elided(name + end);
  EXPECT_TRUE(text.starts_with("e\u0301\u0301"));
  EXPECT_TRUE(text.ends_with("\u0301" + end));
}

/// Variation selectors of the supplementary planes go with the letter before them.
TEST(AlertTextTest, CutsNoPairInTwoWithinALetterThatNeverEnds) {
  for (const std::string first : {"e", "ee"}) {
    std::string name = first;
    for (int i = 0; i < 500; ++i) name += "\U000E0100";
    const std::string text = elided(name);
    const auto cut = text.find("…");
    ASSERT_NE(cut, std::string::npos);
    EXPECT_EQ((cut - first.size()) % 4, 0U);
    EXPECT_EQ((text.size() - cut - std::string("…").size()) % 4, 0U);
  }
}

TEST(AlertTextTest, CutsNoCharacterInTwo) {
  std::string faces;
  for (int i = 0; i < 500; ++i) faces += "😀";
  const std::string text = elided(faces);
  const auto cut = text.find("…");
  ASSERT_NE(cut, std::string::npos);
  EXPECT_EQ(cut % 4, 0U);
  EXPECT_EQ((text.size() - cut - std::string("…").size()) % 4, 0U);
}

}  // namespace
}  // namespace vesk::mac
