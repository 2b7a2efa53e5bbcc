#include "platform/linux/alert/AlertColours.h"

#include <gtest/gtest.h>

namespace vesk::alert::VESK_FILE {
namespace {

TEST(ContrastTest, IsThatOfTheAccessibilityGuidelines) {
  EXPECT_NEAR(contrast(Qt::black, Qt::white), 21, 0.001);
  EXPECT_NEAR(contrast(Qt::white, Qt::black), 21, 0.001);
  EXPECT_NEAR(contrast(QColor("#123456"), QColor("#123456")), 1, 0.001);
  EXPECT_NEAR(contrast(QColor("#767676"), Qt::white), 4.54, 0.01);
}

TEST(IsDarkTest, GoesByWhatTextStandsOn) {
  QPalette palette;
  palette.setColor(QPalette::Window, QColor("#353535"));
  palette.setColor(QPalette::WindowText, QColor("#eeeeec"));
  EXPECT_TRUE(isDark(palette));
  palette.setColor(QPalette::Window, QColor("#f6f5f4"));
  palette.setColor(QPalette::WindowText, QColor("#2e3436"));
  EXPECT_FALSE(isDark(palette));
}

TEST(ButtonPaletteTest, HasATextThatCanBeReadWhateverTheThemeSays) {
  for (const char* const button : {"#ffffff", "#353535", "#777777", "#000000"}) {
    QPalette palette;
    palette.setColor(QPalette::Button, QColor(button));
    palette.setColor(QPalette::ButtonText, QColor(button));
    const QPalette readable = buttonPalette(palette);
    EXPECT_GE(contrast(readable.color(QPalette::Button), readable.color(QPalette::ButtonText)), 4.5)
        << button;
    EXPECT_EQ(readable.color(QPalette::Button), QColor(button));
  }
}

TEST(ButtonPaletteTest, LeavesWhatCanBeReadAsItIs) {
  QPalette palette;
  palette.setColor(QPalette::Button, QColor("#f0f0f0"));
  palette.setColor(QPalette::ButtonText, QColor("#102030"));
  EXPECT_EQ(buttonPalette(palette).color(QPalette::ButtonText), QColor("#102030"));
}

TEST(DefaultButtonPaletteTest, CanBeReadWhateverTheDesktopsAccentIs) {
  for (const char* const accent : {"#308cc6", "#ffff00", "#ffffff", "#000000", "#e95420"}) {
    QPalette palette;
    palette.setColor(QPalette::Highlight, QColor(accent));
    const QPalette filled = defaultButtonPalette(palette);
    EXPECT_GE(contrast(filled.color(QPalette::Button), filled.color(QPalette::ButtonText)), 4.5)
        << accent;
    EXPECT_EQ(filled.color(QPalette::Window), palette.color(QPalette::Window));
  }
}

TEST(DefaultButtonPaletteTest, LeavesADarkAccentAsItIs) {
  QPalette palette;
  palette.setColor(QPalette::Highlight, QColor("#003366"));
  EXPECT_EQ(defaultButtonPalette(palette).color(QPalette::Button), QColor("#003366"));
}

}  // namespace
}  // namespace vesk::alert::VESK_FILE
