#include "platform/macos/MacOverlay.h"

#include <gtest/gtest.h>

#include "objc/frameworks/AppKit.h"
#include "objc/frameworks/Foundation.h"
#include "objc/runtime/Runtime.h"
#include "objc/support/ObjcFixture.h"
#include "platform/macos/MacOverlays.h"

namespace vesk::mac {
namespace {

class MacOverlayTest : public testing::ObjcFixture {
 protected:
  static OverlayAppearance strip() {
    OverlayAppearance strip;
    strip.frame = {{440, 0}, 560, 26};
    strip.collectionBehavior = 0x151;
    strip.background = Colour{0.8, 0.05, 0.05, 0.5};
    strip.bottomCornerRadius = 6;
    strip.label = OverlayLabel{{{8, 4}, 544, 18}, 13, true};
    return strip;
  }

  static OverlayAppearance border() {
    OverlayAppearance border;
    border.frame = {{0, 0}, 1440, 900};
    border.border = OverlayBorder{{0.8, 0.05, 0.05, 0.8}, 8};
    return border;
  }

  static NSTextField* labelOf(NSWindow* window) {
    return static_cast<NSTextField*>(window.contentView.subviews.firstObject);
  }

  fakes::Desk& desk_ = fakes::desk();
  MacOverlays overlays_;
};

bool isSame(const NSRect& one, const NSRect& other) {
  return one.origin.x == other.origin.x && one.origin.y == other.origin.y &&
         one.size.width == other.size.width && one.size.height == other.size.height;
}

TEST_F(MacOverlayTest, IsAWindowThatNothingReaches) {
  MacOverlay overlay(strip(), 900);
  EXPECT_TRUE(desk_.shown.empty());
  overlay.orderFrontRegardless();
  ASSERT_EQ(desk_.shown.size(), 1U);
  NSWindow* const window = desk_.shown[0];
  EXPECT_TRUE(isSame(window.frameAtFirst, NSMakeRect(440, 874, 560, 26)));
  EXPECT_FALSE(window.releasedWhenClosed);
  EXPECT_FALSE(window.opaque);
  EXPECT_FALSE(window.hasShadow);
  EXPECT_TRUE(window.ignoresMouseEvents);
  EXPECT_EQ(window.level, 1000);
  EXPECT_EQ(window.collectionBehavior, 0x151U);
  EXPECT_EQ(window.backgroundColor.components, (std::vector<double>{0, 0, 0, 0}));
}

TEST_F(MacOverlayTest, PaintsItsBackgroundAndItsLowerCorners) {
  MacOverlay overlay(strip(), 900);
  overlay.orderFrontRegardless();
  CALayer* const layer = desk_.shown.at(0).contentView.layer;
  EXPECT_EQ(layer.componentsOfBackground, (std::vector<double>{0.8, 0.05, 0.05, 0.5}));
  EXPECT_EQ(layer.cornerRadius, 6);
  EXPECT_EQ(layer.maskedCorners, 3U);
  EXPECT_TRUE(layer.componentsOfBorder.empty());
}

TEST_F(MacOverlayTest, PaintsItsBorderAlone) {
  MacOverlay overlay(border(), 900);
  overlay.orderFrontRegardless();
  CALayer* const layer = desk_.shown.at(0).contentView.layer;
  EXPECT_EQ(layer.componentsOfBorder, (std::vector<double>{0.8, 0.05, 0.05, 0.8}));
  EXPECT_EQ(layer.borderWidth, 8);
  EXPECT_TRUE(layer.componentsOfBackground.empty());
  EXPECT_EQ(layer.cornerRadius, 0);
  EXPECT_TRUE(desk_.shown[0].contentView.subviews.firstObject == nil);
}

TEST_F(MacOverlayTest, WritesItsLabel) {
  MacOverlay overlay(strip(), 900);
  overlay.orderFrontRegardless();
  overlay.setLabel("Zoë is viewing this screen");
  NSTextField* const label = labelOf(desk_.shown.at(0));
  EXPECT_STREQ(label.stringValue.UTF8String, "Zoë is viewing this screen");
  EXPECT_EQ(label.font.size, 13);
  EXPECT_EQ(label.font.weight, NSFontWeightSemibold);
  EXPECT_EQ(label.alignment, NSTextAlignmentCenter);
  EXPECT_EQ(label.lineBreakMode, NSLineBreakByTruncatingMiddle);
  EXPECT_EQ(label.textColor.components, (std::vector<double>{1, 1, 1, 1}));
  EXPECT_TRUE(isSame(label.frame, NSMakeRect(8, 4, 544, 18)));
}

TEST_F(MacOverlayTest, DoesNothingWithATextThatNobodyAskedFor) {
  MacOverlay overlay(border(), 900);
  overlay.setLabel("a text");
  overlay.setLabel("\xff");
  overlay.orderFrontRegardless();
  EXPECT_TRUE(labelOf(desk_.shown.at(0)) == nil);
}

TEST_F(MacOverlayTest, IsGoneWhenItIsOrderedOutAndWhenItEnds) {
  auto overlay = overlays_.makeOverlay(strip());
  overlay->orderFrontRegardless();
  overlay->orderOut();
  EXPECT_TRUE(desk_.shown.empty());
  overlay->orderFrontRegardless();
  EXPECT_EQ(desk_.shown.size(), 1U);
  @autoreleasepool {
    overlay.reset();
  }
  EXPECT_TRUE(desk_.shown.empty());
}

TEST_F(MacOverlayTest, LeavesNothingBehind) {
  const auto before = objc::census();
  @autoreleasepool {
    for (int i = 0; i < 3; ++i) {
      const auto overlay = overlays_.makeOverlay(strip());
      overlay->orderFrontRegardless();
      overlay->setLabel("a label");
    }
  }
  EXPECT_EQ(objc::census(), before);
}

TEST_F(MacOverlayTest, ShowsNothingWhereTheSystemRefuses) {
  desk_.refusesWindows = true;
  MacOverlay overlay(strip(), 900);
  overlay.orderFrontRegardless();
  overlay.setLabel("a label");
  overlay.orderOut();
  EXPECT_TRUE(desk_.shown.empty());
}

TEST_F(MacOverlayTest, KnowsTheScreensByNumberAndPlace) {
  desk_.screens = {{.frame = NSMakeRect(0, 0, 1440, 900), .number = 7},
                   {.frame = NSMakeRect(1440, -180, 1920, 1080), .isNumbered = false}};
  EXPECT_EQ(overlays_.screens(), (std::vector<Screen>{{7, {{0, 0}, 1440, 900}},
                                                      {std::nullopt, {{1440, 0}, 1920, 1080}}}));
  EXPECT_EQ(overlays_.mainScreen(), (Screen{7, {{0, 0}, 1440, 900}}));
  desk_.mainScreen = 1;
  EXPECT_EQ(overlays_.mainScreen(), (Screen{std::nullopt, {{1440, 0}, 1920, 1080}}));
}

TEST_F(MacOverlayTest, KnowsNoScreenWhereThereIsNone) {
  desk_.screens.clear();
  EXPECT_TRUE(overlays_.screens().empty());
  EXPECT_EQ(overlays_.mainScreen(), std::nullopt);
  overlays_.makeOverlay(strip())->orderFrontRegardless();
}

}  // namespace
}  // namespace vesk::mac
