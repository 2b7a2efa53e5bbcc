#include "capture/panelPixels.h"

#include <gtest/gtest.h>

#include "fakes/FakeDisplays.h"

namespace vesk::VESK_FILE {
namespace {

TEST(PanelPixelsTest, AreThoseOfTheMode) {
  fakes::FakeDisplays displays;
  displays.pixelsOf[5] = {1440, 900};
  displays.modes[5] = {2880, 1800};
  EXPECT_EQ(panelPixels({5, 1280, 800}, displays), (PixelSize{2880, 1800}));
}

TEST(PanelPixelsTest, AreTheWindowSystemsWithoutAMode) {
  fakes::FakeDisplays displays;
  displays.pixelsOf[5] = {1440, 900};
  EXPECT_EQ(panelPixels({5, 1280, 800}, displays), (PixelSize{1440, 900}));
}

TEST(PanelPixelsTest, AreTheListsWhereTheWindowSystemKnowsNone) {
  fakes::FakeDisplays displays;
  EXPECT_EQ(panelPixels({5, 1280, 800}, displays), (PixelSize{1280, 800}));
  displays.pixelsOf[5] = {0, 900};
  EXPECT_EQ(panelPixels({5, 1280, 800}, displays), (PixelSize{1280, 900}));
  displays.pixelsOf[5] = {1440, -1};
  EXPECT_EQ(panelPixels({5, 1280, 800}, displays), (PixelSize{1440, 800}));
  displays.pixelsOf[5] = {1, 1};
  EXPECT_EQ(panelPixels({5, 1280, 800}, displays), (PixelSize{1, 1}));
}

}  // namespace
}  // namespace vesk::VESK_FILE
