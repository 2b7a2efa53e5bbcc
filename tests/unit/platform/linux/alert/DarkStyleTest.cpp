#include "platform/linux/alert/DarkStyle.h"

#include <gtest/gtest.h>

namespace vesk::alert::VESK_FILE {
namespace {

const QStringList all{"Fusion",       "Windows",      "Adwaita",
                      "Adwaita-Dark", "HighContrast", "HighContrastInverse"};

TEST(DarkStyleTest, IsTheSameWhereThatTakesItsColoursFromThePalette) {
  EXPECT_EQ(darkStyle("fusion", all), "Fusion");
  EXPECT_EQ(darkStyle("Windows", all), "Windows");
}

TEST(DarkStyleTest, IsTheSisterOfOneWithColoursOfItsOwn) {
  EXPECT_EQ(darkStyle("adwaita", all), "Adwaita-Dark");
  EXPECT_EQ(darkStyle("highcontrast", all), "HighContrastInverse");
  EXPECT_EQ(darkStyle("adwaita-dark", all), "Adwaita-Dark");
}

TEST(DarkStyleTest, IsNoneWhereNoneIsKnownOrThere) {
  EXPECT_EQ(darkStyle("kvantum", all), std::nullopt);
  EXPECT_EQ(darkStyle("", all), std::nullopt);
  EXPECT_EQ(darkStyle("adwaita", {"Fusion", "Adwaita"}), std::nullopt);
}

}  // namespace
}  // namespace vesk::alert::VESK_FILE
