#include "platform/linux/alert/AlertDialog.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QFontMetrics>
#include <QLabel>
#include <QPushButton>
#include <QTimer>
#include <algorithm>
#include <functional>

#include "support/TestApplication.h"

namespace vesk::alert::VESK_FILE {
namespace {

constexpr QSize roomOfAScreen(792, 760);

class AlertDialogTest : public ::testing::Test {
 protected:
  const QLabel* labelThatReads(const QString& text) const {
    for (const auto* const label : dialog_.findChildren<QLabel*>()) {
      if (label->text() == text) return label;
    }
    return nullptr;
  }

  testing::TestApplication application_;
  AlertDialog dialog_{roomOfAScreen};
};

TEST_F(AlertDialogTest, SaysItsMessageInBoldAndLargerThanTheRest) {
  dialog_.setMessageText("Ada would like to view your screen");
  dialog_.setInformativeText("You can say no.");
  const auto* const message = labelThatReads("Ada would like to view your screen");
  const auto* const informative = labelThatReads("You can say no.");
  ASSERT_NE(message, nullptr);
  ASSERT_NE(informative, nullptr);
  EXPECT_TRUE(message->font().bold());
  EXPECT_FALSE(informative->font().bold());
  EXPECT_NEAR(message->font().pointSizeF(), 1.15 * informative->font().pointSizeF(), 0.01);
}

TEST_F(AlertDialogTest, SaysItsMessageLargerInAFontThatIsGivenInPixels) {
  QFont font = QApplication::font();
  font.setPixelSize(20);
  QApplication::setFont(font);
  const AlertDialog dialog(roomOfAScreen);
  EXPECT_EQ(dialog.findChildren<QLabel*>().constFirst()->font().pixelSize(), 23);
}

TEST_F(AlertDialogTest, ReadsFromLeftToRightWhateverTheDesktopDoes) {
  QApplication::setLayoutDirection(Qt::RightToLeft);
  const AlertDialog dialog(roomOfAScreen);
  const auto labels = dialog.findChildren<QLabel*>();
  EXPECT_EQ(labels.at(0)->layoutDirection(), Qt::LeftToRight);
  EXPECT_EQ(labels.at(1)->layoutDirection(), Qt::LeftToRight);
}

TEST_F(AlertDialogTest, SaysTheQuestionInTwoLinesAtMostWhateverTheName) {
  const QString question = " would like to view your screen";
  for (const QString& name :
       {QString(3000, 'W'), QString("Ada ").repeated(100), QString(3000, QChar(0x4e2d))}) {
    dialog_.setMessageText(name + question);
    const auto labels = dialog_.findChildren<QLabel*>();
    const auto message = std::ranges::find_if(
        labels, [&](const auto* label) { return label->text().endsWith(question); });
    ASSERT_NE(message, labels.end()) << name.left(4).toStdString();
    const auto* const label = *message;
    const QRect room(0, 0, label->width(), 1 << 20);
    const QFontMetrics metrics(label->font());
    const int needed = metrics.boundingRect(room, Qt::TextWordWrap, label->text()).height();
    const int twoLines = metrics.boundingRect(room, 0, name.left(2) + "\n" + name.left(2)).height();
    EXPECT_LE(needed, twoLines) << name.left(4).toStdString();
    EXPECT_GE(label->height(), needed) << name.left(4).toStdString();
  }
}

TEST_F(AlertDialogTest, IsWiderInALargeFontButStaysADialog) {
  const auto widthAt = [](int size) {
    QFont font = QApplication::font();
    font.setPixelSize(size);
    QApplication::setFont(font);
    const AlertDialog dialog(roomOfAScreen);
    return dialog.findChildren<QLabel*>().constFirst()->width();
  };
  EXPECT_EQ(widthAt(12), 380);
  EXPECT_GT(widthAt(22), 380);
  EXPECT_EQ(widthAt(60), 640);
}

TEST_F(AlertDialogTest, LeavesTheExplanationOutWhereItWouldPushTheButtonsOutOfSight) {
  const auto explainsAt = [](int points) {
    QApplication::setFont(QFont("Sans", points));
    AlertDialog dialog(roomOfAScreen);
    dialog.setMessageText("Ada would like to view your screen");
    dialog.setInformativeText(QString("You can say no. ").repeated(10));
    dialog.addButton("Allow");
    dialog.fitOnScreen();
    const auto labels = dialog.findChildren<QLabel*>();
    EXPECT_FALSE(labels.constFirst()->isHidden()) << points;
    return !labels.at(1)->isHidden();
  };
  EXPECT_TRUE(explainsAt(10));
  EXPECT_FALSE(explainsAt(90));
}

TEST_F(AlertDialogTest, HasTheFirstButtonForItsDefault) {
  dialog_.addButton("Allow & more");
  dialog_.addButton("Don't Allow");
  const auto buttons = dialog_.findChildren<QPushButton*>();
  ASSERT_EQ(buttons.size(), 2);
  for (const auto* const button : buttons) {
    EXPECT_EQ(button->isDefault(), button->text() == "Allow && more");
  }
}

/// What is drawn in another way may be in another place: no press is taken for it any more.
TEST_F(AlertDialogTest, TakesNoAnswerOnceItsLookHasChanged) {
  struct Change {
    const char* name;
    std::function<void()> make;
  };
  const Change changes[] = {
      {"font", [] { QApplication::setFont(QFont("Serif", 30)); }},
      {"style", [] { QApplication::setStyle("Windows"); }},
      {"colours", [] { QApplication::setPalette(QPalette(Qt::darkGray, Qt::black)); }},
      {"direction", [] { QApplication::setLayoutDirection(Qt::RightToLeft); }},
  };
  for (const auto& change : changes) {
    SCOPED_TRACE(change.name);
    AlertDialog dialog(roomOfAScreen);
    dialog.addButton("Allow");
    QTimer::singleShot(0, &dialog, [&] {
      change.make();
      // Qt tells of some changes at once, of others later.
      for (const auto type : {QEvent::ApplicationFontChange, QEvent::ApplicationPaletteChange}) {
        QCoreApplication::sendPostedEvents(nullptr, type);
      }
      dialog.findChildren<QPushButton*>().constFirst()->click();
      dialog.reject();
      EXPECT_TRUE(dialog.isVisible());
    });
    EXPECT_EQ(dialog.exec(), AlertDialog::outdated);
  }
}

TEST_F(AlertDialogTest, KeepsTheAnswerThatEndsItWhileItIsOutdated) {
  QTimer::singleShot(0, &dialog_, [this] {
    QApplication::setLayoutDirection(Qt::RightToLeft);
    dialog_.done(-1001);
  });
  EXPECT_EQ(dialog_.exec(), -1001);
}

}  // namespace
}  // namespace vesk::alert::VESK_FILE
