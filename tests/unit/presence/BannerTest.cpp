#include "presence/Banner.h"

#include <gtest/gtest.h>

#include "fakes/FakeDisplays.h"
#include "fakes/RecordingOverlays.h"

namespace vesk::VESK_FILE {
namespace {

using Calls = std::vector<std::string>;

Banner::Style styleOf(const std::string& json) {
  return Banner::Style(Message::parse(std::as_bytes(std::span(json))));
}

Banner::Style style(std::int64_t strip, std::int64_t border, std::int64_t thickness) {
  Banner::Style result;
  result.stripOpacity = strip;
  result.borderOpacity = border;
  result.borderThickness = thickness;
  return result;
}

TEST(BannerStyleTest, HasItsDefaults) {
  EXPECT_EQ(Banner::Style(), style(100, 80, 8));
  EXPECT_EQ(Banner::Style(std::nullopt), style(100, 80, 8));
  EXPECT_EQ(styleOf("{}"), style(100, 80, 8));
}

TEST(BannerStyleTest, ReadsEachMemberByItself) {
  EXPECT_EQ(styleOf(R"({"strip":50,"border":30,"thickness":12})"), style(50, 30, 12));
  EXPECT_EQ(styleOf(R"({"strip":0})"), style(0, 80, 8));
  EXPECT_EQ(styleOf(R"({"border":0})"), style(100, 0, 8));
  EXPECT_EQ(styleOf(R"({"thickness":0})"), style(100, 80, 0));
}

TEST(BannerStyleTest, HoldsEachMemberToItsRange) {
  EXPECT_EQ(styleOf(R"({"strip":250,"border":101,"thickness":99})"), style(100, 100, 40));
  EXPECT_EQ(styleOf(R"({"strip":-5,"border":-1,"thickness":-9223372036854775808})"),
            style(0, 0, 0));
  EXPECT_EQ(styleOf(R"({"strip":100,"border":1,"thickness":40})"), style(100, 1, 40));
}

TEST(BannerStyleTest, TakesWhatIsNoIntegerForAbsent) {
  EXPECT_EQ(styleOf(R"({"strip":50.5,"border":"50","thickness":null})"), style(100, 80, 8));
  EXPECT_EQ(styleOf(R"({"strip":[1],"border":{},"thickness":1e300})"), style(100, 80, 8));
  EXPECT_EQ(styleOf(R"({"strip":60.0})"), style(60, 80, 8));
}

class BannerTest : public ::testing::Test {
 protected:
  BannerTest() {
    displays_.main = 7;
    overlays_.screenList = {{5, {{0, 0}, 1920, 1080}}, {7, {{1920, 100}, 1440, 900}}};
    overlays_.main = overlays_.screenList[0];
  }

  fakes::FakeDisplays displays_;
  fakes::RecordingOverlays overlays_;
  Banner banner_{displays_, overlays_};
};

TEST_F(BannerTest, ShowsTheBorderThenTheStripOnTheMainDisplay) {
  banner_.show("Ada", {});
  EXPECT_EQ(overlays_.calls, (Calls{"front border", "front strip"}));
  const auto shown = overlays_.shown();
  ASSERT_EQ(shown.size(), 2U);

  OverlayAppearance border;
  border.frame = {{1920, 100}, 1440, 900};
  border.level = WindowLevel::screenSaver;
  border.collectionBehavior = 0x151;
  border.border = OverlayBorder{{0.8, 0.05, 0.05, 0.8}, 8};
  EXPECT_EQ(shown[0].appearance, border);
  EXPECT_EQ(shown[0].label, std::nullopt);

  OverlayAppearance strip;
  strip.frame = {{2360, 100}, 560, 26};
  strip.level = WindowLevel::screenSaver;
  strip.collectionBehavior = 0x151;
  strip.background = Colour{0.8, 0.05, 0.05, 1};
  strip.bottomCornerRadius = 6;
  strip.label = OverlayLabel{{{8, 4}, 544, 18}, 13, true};
  EXPECT_EQ(shown[1].appearance, strip);
  EXPECT_EQ(shown[1].label, "Ada is viewing this screen");
  EXPECT_EQ(static_cast<int>(strip.level), 1000);
}

TEST_F(BannerTest, DrawsAsStronglyAsTheStyleSays) {
  banner_.show("Ada", style(50, 30, 40));
  ASSERT_EQ(overlays_.made.size(), 2U);
  EXPECT_EQ(overlays_.made[0].appearance.border, (OverlayBorder{{0.8, 0.05, 0.05, 0.3}, 40}));
  EXPECT_EQ(overlays_.made[1].appearance.background, (Colour{0.8, 0.05, 0.05, 0.5}));
}

TEST_F(BannerTest, LeavesOutWhatTheStyleSwitchesOff) {
  banner_.show("Ada", style(0, 80, 8));
  EXPECT_EQ(overlays_.calls, Calls{"front border"});
  banner_.hide();
  overlays_.calls.clear();

  banner_.show("Ada", style(100, 0, 8));
  EXPECT_EQ(overlays_.calls, Calls{"front strip"});
  banner_.hide();
  overlays_.calls.clear();

  banner_.show("Ada", style(100, 80, 0));
  EXPECT_EQ(overlays_.calls, Calls{"front strip"});
}

TEST_F(BannerTest, ShowsTheFaintestAndTheThinnestThatIsNotOff) {
  banner_.show("Ada", style(1, 1, 1));
  EXPECT_EQ(overlays_.calls, (Calls{"front border", "front strip"}));
  ASSERT_EQ(overlays_.made.size(), 2U);
  EXPECT_EQ(overlays_.made[0].appearance.border, (OverlayBorder{{0.8, 0.05, 0.05, 0.01}, 1}));
  EXPECT_EQ(overlays_.made[1].appearance.background, (Colour{0.8, 0.05, 0.05, 0.01}));
}

TEST_F(BannerTest, ShowsNothingWithEverythingSwitchedOff) {
  banner_.show("Ada", style(0, 0, 0));
  banner_.setViewer("Grace");
  EXPECT_TRUE(overlays_.made.empty());
}

TEST_F(BannerTest, RenamesTheViewerInTheStripOnly) {
  banner_.show("Ada", {});
  banner_.setViewer("Grace");
  EXPECT_EQ(overlays_.made[1].label, "Grace is viewing this screen");
  banner_.setViewer("");
  EXPECT_EQ(overlays_.made[1].label, "Vesk support is viewing this screen");
  banner_.show("Ada", style(0, 80, 8));
  banner_.setViewer("Grace");
  EXPECT_EQ(overlays_.made.back().label, std::nullopt);
}

TEST_F(BannerTest, NamesTheSupportWhereTheViewerHasNoName) {
  banner_.show("", {});
  EXPECT_EQ(overlays_.made[1].label, "Vesk support is viewing this screen");
}

TEST_F(BannerTest, ReplacesWhatIsShown) {
  banner_.show("Ada", {});
  overlays_.calls.clear();
  banner_.show("Grace", {});
  EXPECT_EQ(overlays_.calls, (Calls{"out strip", "out border", "front border", "front strip"}));
  EXPECT_EQ(overlays_.shown().size(), 2U);
  EXPECT_FALSE(overlays_.made[0].exists);
  EXPECT_FALSE(overlays_.made[1].exists);
}

TEST_F(BannerTest, LeavesNoWindowBehindWhenItHides) {
  banner_.show("Ada", {});
  banner_.hide();
  EXPECT_FALSE(overlays_.made[0].exists);
  EXPECT_FALSE(overlays_.made[1].exists);
  banner_.setViewer("Grace");
  EXPECT_EQ(overlays_.made[1].label, "Ada is viewing this screen");
}

TEST_F(BannerTest, HidesHarmlesslyAtAnyTime) {
  banner_.hide();
  banner_.hide();
  banner_.show("Ada", {});
  banner_.hide();
  overlays_.calls.clear();
  banner_.hide();
  EXPECT_TRUE(overlays_.calls.empty());
}

TEST_F(BannerTest, TakesTheDefaultScreenWhereNoneIsTheMainDisplays) {
  displays_.main = 9;
  banner_.show("Ada", {});
  ASSERT_EQ(overlays_.made.size(), 2U);
  EXPECT_EQ(overlays_.made[0].appearance.frame, (Rect{{0, 0}, 1920, 1080}));
}

TEST_F(BannerTest, PassesOverAScreenWithoutANumber) {
  displays_.main = 0;
  overlays_.screenList = {{std::nullopt, {{0, 0}, 800, 600}}, {0, {{800, 0}, 640, 480}}};
  banner_.show("Ada", {});
  ASSERT_EQ(overlays_.made.size(), 2U);
  EXPECT_EQ(overlays_.made[0].appearance.frame, (Rect{{800, 0}, 640, 480}));
}

TEST_F(BannerTest, TakesTheFirstOfTwoScreensWithTheSameNumber) {
  overlays_.screenList.push_back({7, {{0, 0}, 640, 480}});
  banner_.show("Ada", {});
  EXPECT_EQ(overlays_.made[0].appearance.frame, (Rect{{1920, 100}, 1440, 900}));
}

TEST_F(BannerTest, ShowsNothingWithoutAScreenAndHidesWhatWasShown) {
  banner_.show("Ada", {});
  overlays_.screenList.clear();
  overlays_.main.reset();
  banner_.show("Grace", {});
  EXPECT_TRUE(overlays_.shown().empty());
  EXPECT_EQ(overlays_.made.size(), 2U);
}

}  // namespace
}  // namespace vesk::VESK_FILE
