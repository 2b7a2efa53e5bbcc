#include "platform/linux/wayland/overlay/LayerOverlay.h"

#include <linux/input-event-codes.h>

#include "support/OverlayFixture.h"
#include "support/WlHand.h"

namespace vesk::wayland::overlay::VESK_FILE {
namespace {

class LayerOverlayTest : public testing::OverlayFixture {};

TEST_F(LayerOverlayTest, TellsOfTheScreensInPoints) {
  sway_.command("create_output");
  sway_.command("output HEADLESS-2 mode 1280x720@60Hz position 1920 0 scale 2");
  const auto all = overlays_.screens();
  ASSERT_EQ(all.size(), 2U);
  EXPECT_EQ(all.at(0).frame, wholeScreen);
  EXPECT_EQ(all.at(1).frame, (Rect{{1920, 0}, 640, 360}));
  EXPECT_EQ(overlays_.mainScreen(), all.at(0));
}

TEST_F(LayerOverlayTest, LetsClicksAndKeysThroughToWhatIsBeneath) {
  testing::WlHand hand;
  testing::WlWindow window;
  const auto line = show(border(wholeScreen, 0.8, 20));
  const auto tab = show(strip(wholeScreen));
  for (const Point& place : {Point{960, 12}, Point{5, 500}, Point{1915, 500}, Point{500, 1075}}) {
    hand.moveTo(place);
    hand.click(BTN_LEFT);
    hand.tap(KEY_A);
    EXPECT_TRUE(window.waitFor([&](const testing::WlSeen& seen) {
      return seen.pointer == place && seen.count("button 272 up") == 1 && seen.text == "a";
    })) << place.x
        << ", " << place.y;
    window.forget();
  }
}

TEST_F(LayerOverlayTest, IsGoneWhileNoOutputIsWhereItLies) {
  sway_.command("create_output");
  sway_.command("output HEADLESS-2 mode 1280x720@60Hz position 1920 0");
  ASSERT_EQ(overlays_.screens().size(), 2U);
  const auto tab = show(strip({{1920, 0}, 1280, 720}));
  ASSERT_EQ(surfaces().size(), 1U);
  sway_.command("output HEADLESS-2 position 1920 2000");
  EXPECT_TRUE(waitUntil([this] { return surfaces().empty(); }));
  sway_.command("output HEADLESS-2 position 1920 0");
  EXPECT_TRUE(waitUntil([this] { return surfaces().size() == 1; }));
  EXPECT_TRUE(own_.shown().isCertain);
}

TEST_F(LayerOverlayTest, IsNotShownBesideAllOutputs) {
  const auto tab = show(strip({{5000, 5000}, 1280, 720}));
  EXPECT_TRUE(surfaces().empty());
  EXPECT_TRUE(own_.shown().isCertain);
}

TEST_F(LayerOverlayTest, EndsInSilenceWithTheCompositor) {
  auto line = show(border(wholeScreen));
  auto tab = show(strip(wholeScreen));
  sway_.kill();
  tab->setLabel("Grace is viewing this screen");
  line.reset();
  tab->orderOut();
  EXPECT_TRUE(surfaces().empty());
  EXPECT_TRUE(overlays_.screens().empty());
  EXPECT_EQ(overlays_.mainScreen(), std::nullopt);
  const auto another = show(strip(wholeScreen));
  EXPECT_TRUE(surfaces().empty());
}

TEST_F(LayerOverlayTest, WaitsNoLongerThanASecondForACompositorThatHangs) {
  auto tab = show(strip(wholeScreen));
  ::kill(sway_.pid(), SIGSTOP);
  const auto before = std::chrono::steady_clock::now();
  tab->setLabel("Grace is viewing this screen");
  const auto took = std::chrono::steady_clock::now() - before;
  ::kill(sway_.pid(), SIGCONT);
  EXPECT_GE(took, LayerShell::patience);
  EXPECT_LT(took, 3 * LayerShell::patience);
}

}  // namespace
}  // namespace vesk::wayland::overlay::VESK_FILE
