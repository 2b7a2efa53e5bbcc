#include "platform/linux/alert/AlertText.h"

#include <gtest/gtest.h>

#include <QFontMetrics>
#include <chrono>

#include "support/Patience.h"
#include "support/TestApplication.h"

namespace vesk::alert::VESK_FILE {
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

class ElidedParagraphTest : public ::testing::Test {
 protected:
  QString elided(const QString& text, int lines = 4) const {
    return elidedParagraph(text, font_, width, lines);
  }

  static constexpr int width = 380;
  testing::TestApplication application_;
  QFont font_;
};

/// Lines to spare are no use to a word that is wider than any.
TEST_F(ElidedParagraphTest, TakesNoLineThatIsTooWide) {
  const QString word(20, 'W');
  const QString text = word + " would like to view your screen until the session ends";
  const int narrow = QFontMetrics(font_).horizontalAdvance(word) / 2;
  const QString shown = elidedParagraph(text, font_, narrow, 20);
  EXPECT_FALSE(shown.contains(word)) << shown.toStdString();
  EXPECT_TRUE(shown.endsWith("until the session ends")) << shown.toStdString();
}

TEST_F(ElidedParagraphTest, LeavesWhatFitsAlone) {
  EXPECT_EQ(elided("Ada  Lovelace\nwould like"), "Ada Lovelace would like");
}

TEST_F(ElidedParagraphTest, TakesWholeCharactersFromTheMiddleAndKeepsTheEnd) {
  const QString end = " would like to view your screen";
  const QString family = QString::fromUtf8("👩‍👩‍👧");
  const QString shown = elided(family.repeated(300) + end).remove(QChar(0x200b));
  const auto ellipsis = shown.indexOf(QChar(0x2026));
  ASSERT_GT(ellipsis, 0);
  EXPECT_EQ(shown.left(ellipsis), family.repeated(ellipsis / family.size()));
  EXPECT_TRUE(shown.endsWith(end));
  EXPECT_LT(shown.size(), 2000);
}

/// The work of laying them out grows with the square of their number.
TEST_F(ElidedParagraphTest, IsDoneInTimeWhateverIsPiledUp) {
  const auto start = std::chrono::steady_clock::now();
  const QString end = " would like to view your screen";
  for (const char16_t piled : {u'\u0301', u'\u0489', u'\u200d', u'\u05b0', u'\u202e', u'W'}) {
    const QString shown = elided("A" + QString(150'000, QChar(piled)) + end);
    EXPECT_TRUE(shown.endsWith(end)) << static_cast<int>(piled);
  }
  EXPECT_LT(std::chrono::steady_clock::now() - start,
            std::chrono::milliseconds(testing::patience() / 10));
}

}  // namespace
}  // namespace vesk::alert::VESK_FILE
