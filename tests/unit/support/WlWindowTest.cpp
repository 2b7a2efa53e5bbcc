#include "support/WlWindow.h"

#include <gtest/gtest.h>

#include <cctype>
#include <string>

#include "support/Patience.h"
#include "support/Sway.h"

namespace vesk::testing::VESK_FILE {
namespace {

class WlWindowTest : public ::testing::Test {
 protected:
  WlWindowTest() { sway.enter(); }

  Sway sway{{"default_border none", "default_floating_border none"}};
};

TEST_F(WlWindowTest, FillsTheOutputAndKeepsWhatWasPainted) {
  WlWindow window;
  EXPECT_EQ(window.size(), (PixelSize{1920, 1080}));
  window.fill(100, 50, 20, 10, 0xFF8000);
  EXPECT_TRUE(window.waitUntilShown());
  EXPECT_EQ(window.pixel(100, 50), 0xFF8000U);
  EXPECT_EQ(window.pixel(119, 59), 0xFF8000U);
  EXPECT_EQ(window.pixel(120, 59), 0x204060U);
  sway.command("output HEADLESS-1 mode 1280x720@60Hz");
  ASSERT_TRUE(waitUntil([&] { return window.size() == PixelSize{1280, 720}; }));
  EXPECT_EQ(window.pixel(100, 50), 0xFF8000U);
}

TEST_F(WlWindowTest, FloatsWhereItIsTold) {
  const WlWindow window({.place = WlWindowLook::Place::floating, .size = {300, 200}});
  EXPECT_EQ(window.size(), (PixelSize{300, 200}));
  sway.command("[app_id=\"window\"] move absolute position 40 30");
  auto tree = sway.ask("get_tree");
  std::erase_if(tree, [](char c) { return std::isspace(static_cast<unsigned char>(c)) != 0; });
  EXPECT_NE(tree.find(R"("x":40,"y":30,"width":300,"height":200)"), std::string::npos) << tree;
}

TEST_F(WlWindowTest, EndsWithTheCompositorInSilence) {
  WlWindow window;
  sway.kill();
  window.fill(0, 0, 1, 1, 0xFFFFFF);
  EXPECT_EQ(window.pixel(0, 0), 0xFFFFFFU);
}

}  // namespace
}  // namespace vesk::testing::VESK_FILE
