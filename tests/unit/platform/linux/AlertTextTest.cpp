#include "platform/linux/AlertText.h"

#include <gtest/gtest.h>

namespace vesk {
namespace {

TEST(ParagraphTest, MakesOneSpaceOfEveryRunOfWhiteSpace) {
  EXPECT_EQ(paragraph("Ada Lovelace").toStdString(), "Ada Lovelace");
  EXPECT_EQ(paragraph("  Ada \n\n\t Lovelace ").toStdString(), "Ada Lovelace");
  EXPECT_EQ(paragraph("Ada" + QString(500, ' ') + "Line two").toStdString(), "Ada Line two");
}

TEST(ParagraphTest, LeavesMarkupAlone) {
  EXPECT_EQ(paragraph("<b>x</b> &amp;").toStdString(), "<b>x</b> &amp;");
}

TEST(ParagraphTest, LetsALongWordBreakButNoCharacter) {
  const QString word(21, 'w');
  EXPECT_EQ(paragraph(word), QString(20, 'w') + QChar(0x200b) + "w");
  const QString family = QString::fromUtf8("👩‍👩‍👧");
  EXPECT_EQ(paragraph(QString(20, 'w') + family), QString(20, 'w') + QChar(0x200b) + family);
}

}  // namespace
}  // namespace vesk
