#include "platform/linux/banner/boundedText.h"

#include <gtest/gtest.h>

namespace vesk::banner::VESK_FILE {
namespace {

TEST(BoundedTextTest, LeavesTextOfAUsualLengthAlone) {
  EXPECT_EQ(boundedText(""), "");
  EXPECT_EQ(boundedText(QString(1024, 'w')), QString(1024, 'w'));
}

TEST(BoundedTextTest, KeepsBeginningAndEndOfALongerOne) {
  const QString text = QString(100'000, 'a') + QString(100'000, 'z');
  EXPECT_EQ(boundedText(text), QString(768, 'a') + QChar(0x2026) + QString(256, 'z'));
}

TEST(BoundedTextTest, KeepsSurrogatePairsWhole) {
  const QString pair = QString::fromUtf8("😀");
  const QString text = "a" + pair.repeated(1000) + "z";
  EXPECT_EQ(boundedText(text), "a" + pair.repeated(383) + QChar(0x2026) + pair.repeated(127) + "z");
}

}  // namespace
}  // namespace vesk::banner::VESK_FILE
