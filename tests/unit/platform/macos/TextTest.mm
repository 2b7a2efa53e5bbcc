#include "platform/macos/Text.h"

#include <gtest/gtest.h>

namespace vesk::mac {
namespace {

TEST(TextTest, GoesThereAndBack) {
  for (const std::string text : {"", "Anna", "Zoë 漢字 😀"}) {
    EXPECT_EQ(toUtf8(toNSString(text)), text);
  }
}

TEST(TextTest, IsEmptyWhereItIsNotUtf8) {
  EXPECT_EQ(toNSString("\xff\xfe").length, 0U);
  EXPECT_EQ(toUtf8(nil), "");
}

TEST(TextTest, KeepsWhatComesAfterAZero) {
  EXPECT_EQ(toNSString(std::string("a\0b", 3)).length, 3U);
}

}  // namespace
}  // namespace vesk::mac
