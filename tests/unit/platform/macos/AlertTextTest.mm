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
  EXPECT_LE(elidedParagraph(name + " would like to view your screen").length, most);
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
